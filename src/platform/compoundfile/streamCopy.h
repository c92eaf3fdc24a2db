// What all streams of ours do alike: moving the position, copying to another stream.
#pragma once

#include <kvdocmgr/oletypes.h>

#include <cstdint>

namespace kvdm {

// IStream::Seek. A position before the start is STG_E_INVALIDFUNCTION and changes nothing; one behind the end is allowed.
HRESULT seekStream(std::uint64_t& position, std::uint64_t size, LARGE_INTEGER move, DWORD origin, ULARGE_INTEGER* result) noexcept;

// IStream::CopyTo, through the public operations of both streams. Throws std::bad_alloc.
HRESULT copyStream(IStream& source, IStream* target, ULARGE_INTEGER count, ULARGE_INTEGER* read, ULARGE_INTEGER* written);

} // namespace kvdm
