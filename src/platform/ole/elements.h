// What a value of an automation type owns: shared by VARIANT and SAFEARRAY.
#pragma once

#include <kvdocmgr/oletypes.h>

namespace kvdm {

// Bytes of one value of the type without its flags, 0 for what cannot stand in an array or behind a reference.
std::size_t automationSizeOf(VARTYPE type) noexcept;

// A copy of a BSTR with its length in bytes. False only when memory is exhausted; the copy of null is null.
bool copyBstr(BSTR source, BSTR& copy) noexcept;

} // namespace kvdm
