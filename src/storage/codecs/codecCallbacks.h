// How the codecs reach their bytes. The same routines serve a worker behind a pipe and a conversion of whole files.
#pragma once

#include <cstdint>

namespace kvdm {

// Sets the pointer to bytes of its own, good until the next call, and returns how many there are; 0 at the end.
using suReader = std::uint32_t (*)(void* context, const std::uint8_t** bytes);
// Returns 0 to go on.
using suWriter = int (*)(void* context, const std::uint8_t* bytes, std::uint32_t length);

// The same for compressing: fills at most *length bytes of the buffer, sets *length to their number and returns it; 0 at the end.
using suBlockReader = std::uint32_t (*)(std::uint8_t* buffer, std::uint32_t* length, void* context);
using suBlockWriter = int (*)(const std::uint8_t* bytes, std::uint32_t length, void* context);

} // namespace kvdm
