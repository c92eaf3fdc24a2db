// The numbers of the C library's errors as those of Windows.
#pragma once

#include <cstdint>

namespace kvdm {

// For an error that has no counterpart the number of the operation that failed (errorReadFault, errorWriteFault).
std::uint32_t systemErrorOf(int number, std::uint32_t otherwise) noexcept;

} // namespace kvdm
