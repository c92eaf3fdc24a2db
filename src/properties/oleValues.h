// Values of a property set as they lie in a stream behind their type word, and as their callers hold them.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <optional>
#include <string>
#include <string_view>

namespace kvdm {

static_assert(std::endian::native == std::endian::little,
              "numbers of a property set are copied, not assembled: a big-endian machine needs more here");

constexpr std::uint32_t oleVectorFlag = 0x1000;
constexpr std::uint32_t oleTypeVariant = 12; // in a stream only; nothing here makes one

template <class Number> Number oleNumber(const char* bytes) noexcept
{
    Number value;
    std::memcpy(&value, bytes, sizeof value);
    return value;
}
template <class Number> void appendOleNumber(std::string& out, Number value)
{
    out.append(reinterpret_cast<const char*>(&value), sizeof value);
}
template <class Number> std::string oleBytes(Number value)
{
    return std::string(reinterpret_cast<const char*>(&value), sizeof value);
}

// How much one stream's reading may look at. Sound streams hold every byte once; a hostile one can let any number of
// properties share the same long value, so that work and memory would grow with the square of its size.
class OleReadBudget
{
public:
    explicit OleReadBudget(std::size_t streamSize) noexcept : left(65536 + 4 * std::uint64_t{streamSize}) {}

    bool spend(std::uint64_t bytes) noexcept
    {
        if (bytes > left)
            return false;
        left -= bytes;
        return true;
    }

private:
    std::uint64_t left;
};

// Where the payload that begins at `at` ends. Empty for an unknown type, when the stream ends before the value, and when
// the budget does. Elements of type 12 take no bytes here: what belongs to them is not told by the type.
std::optional<std::size_t> olePayloadEnd(std::string_view stream, std::size_t at, std::uint32_t type, OleReadBudget& budget);

// The payload for a value in its caller's form: a raw number; narrow text for type 30; UTF-16 for 31, 8 and 66 to 69 (both
// end at their first NUL); the image with its length or count for all others. Empty when the type cannot be stored or the
// bytes do not make a value of it.
std::optional<std::string> olePayloadOf(std::uint32_t type, std::string_view value);

// The other way: without the length word, except for 65, 70, 75 and vectors; UTF-16 for the types that are wide in memory.
std::optional<std::string> oleValueOf(std::uint32_t type, std::string_view payload);

// The bytes of a type 30 payload before the first NUL; one that has none ends at its length.
std::string_view oleNarrowText(std::string_view payload) noexcept;

} // namespace kvdm
