// Bytes of a reader callback in the portions that a parser asks for.
#pragma once

#include "storage/codecs/codecCallbacks.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>
#include <utility>
#include <vector>

namespace kvdm {

// Holds what was asked for and at most one portion of the reader more; grows with bytes that came, not with sizes announced.
class ReadAheadBuffer
{
public:
    ReadAheadBuffer(suReader reader, void* context, std::uint32_t readSize) : reader(reader), context(context), readSize(readSize) {}

    // The next count bytes, fewer only at the end; good until the next call.
    std::span<const std::uint8_t> take(std::size_t count)
    {
        iFill(count);
        const std::span<const std::uint8_t> taken = std::span(held).subspan(start).first(std::min(count, held.size() - start));
        start += taken.size();
        return taken;
    }

    // Everything from the first byte of the last take() on, to the end of the input.
    std::vector<std::uint8_t> takeAllSince(std::span<const std::uint8_t> lastTaken)
    {
        start -= lastTaken.size();
        iFill(SIZE_MAX);
        held.erase(held.begin(), held.begin() + static_cast<std::ptrdiff_t>(start));
        start = 0;
        return std::exchange(held, {});
    }

private:
    void iFill(std::size_t count)
    {
        if (held.size() - start >= count)
            return;
        held.erase(held.begin(), held.begin() + static_cast<std::ptrdiff_t>(start));
        start = 0;
        while (held.size() < count && !ended) {
            const std::uint8_t* bytes = nullptr;
            const std::uint32_t got = reader(context, &bytes);
            ended = got < readSize || got == 0;
            held.insert(held.end(), bytes, bytes + got);
        }
    }

    suReader reader;
    void* context;
    std::uint32_t readSize;
    std::vector<std::uint8_t> held;
    std::size_t start = 0;
    bool ended = false;
};

} // namespace kvdm
