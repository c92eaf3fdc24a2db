#include "storage/codecs/explode.h"

#include "storage/codecs/explodeTables.h"

#include <algorithm>
#include <cstring>
#include <optional>

namespace kvdm {

namespace {

constexpr auto literalTable = makeExplodeTable<13, 256>(literalCodeRuns);
constexpr auto lengthTable = makeExplodeTable<7, 16>(lengthCodeRuns);
constexpr auto distanceTable = makeExplodeTable<8, 64>(distanceCodeRuns);
static_assert(isComplete(literalTable) && isComplete(lengthTable) && isComplete(distanceTable));

constexpr std::uint32_t windowSize = 4096;
constexpr std::uint32_t endLength = 519;

// Bits of the reader's bytes, lowest first.
class BitSource
{
public:
    BitSource(suReader reader, void* context) : reader(reader), context(context) {}

    // Each returns nothing when the input ran out.
    std::optional<std::uint32_t> bits(unsigned wanted)
    {
        while (count < wanted) {
            if (!iAddByte())
                return std::nullopt;
        }
        return iDrop(wanted);
    }
    template <std::size_t Entries> std::optional<std::uint32_t> symbol(const std::array<ExplodeCode, Entries>& table)
    {
        while (count < 13 && left > 0)
            iAddByte();
        for (;;) { // asks the reader only when the code that is here is not whole
            const ExplodeCode code = table[held & (Entries - 1)];
            if (code.bits <= count) {
                iDrop(code.bits);
                return code.symbol;
            }
            if (!iAddByte())
                return std::nullopt;
        }
    }

private:
    bool iAddByte()
    {
        if (left == 0) {
            if (ended)
                return false;
            left = reader(context, &next);
            if (left == 0) {
                ended = true;
                return false;
            }
        }
        held |= std::uint64_t{*next++} << count;
        count += 8;
        --left;
        return true;
    }
    std::uint32_t iDrop(unsigned wanted)
    {
        const auto value = static_cast<std::uint32_t>(held & ((std::uint64_t{1} << wanted) - 1));
        held >>= wanted;
        count -= wanted;
        return value;
    }

    suReader reader;
    void* context;
    const std::uint8_t* next = nullptr;
    std::uint32_t left = 0;
    std::uint64_t held = 0;
    unsigned count = 0;
    bool ended = false;
};

// The last 4096 bytes of output.
class Window
{
public:
    Window(suWriter writer, void* context) : writer(writer), context(context) {}

    bool put(std::uint8_t byte)
    {
        bytes[next++] = byte;
        return next < windowSize || flush();
    }
    bool reaches(std::uint32_t distance) const { return wrapped || distance <= next; }
    bool repeat(std::uint32_t distance, std::uint32_t length)
    {
        while (length > 0) {
            std::uint32_t from = next - distance;
            if (from > next) // behind the beginning: the part of the last round that is not yet overwritten
                from += windowSize;
            const std::uint32_t run = std::min({length, windowSize - next, windowSize - from});
            for (std::uint32_t i = 0; i < run; ++i) // may overlap and then repeats itself
                bytes[next + i] = bytes[from + i];
            next += run;
            length -= run;
            if (next == windowSize && !flush())
                return false;
        }
        return true;
    }
    bool flush()
    {
        const std::uint32_t count = next;
        next = 0;
        wrapped = true;
        return count == 0 || writer(context, bytes, count) == 0;
    }

private:
    suWriter writer;
    void* context;
    std::uint32_t next = 0;
    bool wrapped = false;
    std::uint8_t bytes[windowSize];
};

// How much output there would be.
class NoWindow
{
public:
    bool put(std::uint8_t) { return ++length != 0; }
    bool reaches(std::uint32_t distance) const { return distance <= length; }
    bool repeat(std::uint32_t, std::uint32_t count) { return (length += count) != 0; }

private:
    std::uint64_t length = 0;
};

template <class Output> int decode(BitSource& input, Output& window)
{
    const auto literalForm = input.bits(8);
    if (!literalForm)
        return explodeInputRanOut;
    if (*literalForm > 1)
        return explodeBadLiteralForm;
    const auto dictionaryBits = input.bits(8);
    if (!dictionaryBits)
        return explodeInputRanOut;
    if (*dictionaryBits < 4 || *dictionaryBits > 6)
        return explodeBadDictionary;
    for (;;) {
        const auto isPair = input.bits(1);
        if (!isPair)
            return explodeInputRanOut;
        if (*isPair == 0) {
            const auto literal = *literalForm == 1 ? input.symbol(literalTable) : input.bits(8);
            if (!literal)
                return explodeInputRanOut;
            if (!window.put(static_cast<std::uint8_t>(*literal)))
                return explodeWriterFailed;
            continue;
        }
        const auto lengthSymbol = input.symbol(lengthTable);
        const auto extra = lengthSymbol ? input.bits(lengthExtraBits[*lengthSymbol]) : std::nullopt;
        if (!extra)
            return explodeInputRanOut;
        const std::uint32_t length = lengthBase[*lengthSymbol] + *extra;
        if (length == endLength)
            return explodeDone;
        const auto high = input.symbol(distanceTable);
        const unsigned lowBits = length == 2 ? 2 : *dictionaryBits;
        const auto low = high ? input.bits(lowBits) : std::nullopt;
        if (!low)
            return explodeInputRanOut;
        const std::uint32_t distance = (*high << lowBits) + *low + 1;
        if (!window.reaches(distance))
            return explodeBadDistance;
        if (!window.repeat(distance, length))
            return explodeWriterFailed;
    }
}

} // namespace

int explode(suReader reader, void* readerContext, suWriter writer, void* writerContext)
{
    BitSource input(reader, readerContext);
    Window window(writer, writerContext);
    const int result = decode(input, window);
    if (result == explodeWriterFailed)
        return result;
    return window.flush() || result != explodeDone ? result : explodeWriterFailed;
}

int checkImploded(suReader reader, void* readerContext)
{
    BitSource input(reader, readerContext);
    NoWindow output;
    return decode(input, output);
}

} // namespace kvdm
