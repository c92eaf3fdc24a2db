// The byte arrays and streams that the engine brings along.
#pragma once

#include "platform/files/files.h"

#include <kvdocmgr/comptr.h>
#include <kvdocmgr/oletypes.h>

#include <memory>
#include <string_view>

namespace kvdm {

// Bytes in memory that grow as they are written. Without locks.
ComPtr<ILockBytes> makeMemoryLockBytes();
ComPtr<IStream> makeMemoryStream();

// A file of the system, with byte-range locks. Failures are storage statuses (STG_E_FILENOTFOUND, STG_E_ACCESSDENIED ...);
// the result is null then.
ComPtr<ILockBytes> openFileLockBytes(std::u16string_view path, FileAccess access, FileCreation creation, HRESULT& status);

// The storage status for an error of the operating system.
HRESULT storageStatusOf(std::uint32_t systemError) noexcept;

} // namespace kvdm
