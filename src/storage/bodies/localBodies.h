// The "LocalBodies" stream of a configuration: its imported bodies, one behind another.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>

namespace kvdm {

class su_CArchive;

// An entry whose payload comes next in the archive. The head, a byte and the size of the payload, is part of what is
// decompressed.
struct LocalBody
{
    std::array<std::uint8_t, 5> head{};
    std::uint32_t payloadSize = 0;
};

// How many bodies the stream tells of; nobody has counted them.
std::int32_t readLocalBodyCount(su_CArchive& archive);

// Reads from the beginning of the stream up to the payload of the index-th entry. Empty when the stream tells of fewer; an
// archive exception when it ends before. A payload is passed over, never held. The size that an entry tells is compared with
// the bytes that are left where the archive knows of them; where it does not, the payload may still end early.
std::optional<LocalBody> findLocalBody(su_CArchive& archive, int version, std::int32_t index);

} // namespace kvdm
