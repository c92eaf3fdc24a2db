// From the bytes of a body or a partition to the file that a client asks for: a short prefix is passed over, the rest is
// decompressed.
#pragma once

#include <kvdocmgr/enumerations.h>

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

namespace kvdm {

class su_CArchive;

inline constexpr std::uint64_t untilEndOfStream = UINT64_MAX;
inline constexpr std::size_t partitionPrefix = 4;
std::size_t bodyPrefix(int version);

// Puts the head and then so many bytes of the archive into the named temporary file (of the conversion folder, so one at a
// time) and converts them, with both version hints. Nothing is held in memory: a compressed node may be far larger than what
// it is stored in. kvBodyErrorNoData when the archive has fewer bytes than told; bytes that cannot be read are an exception.
// The temporary file stays behind when the client's file cannot be created.
KvDmBodyError extractBody(std::span<const std::uint8_t> head, su_CArchive& archive, std::uint64_t count, std::u16string_view temporaryName,
                          std::size_t prefix, std::u16string_view fileName);

} // namespace kvdm
