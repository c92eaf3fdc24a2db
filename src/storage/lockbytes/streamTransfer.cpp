#include "storage/lockbytes/streamTransfer.h"

#include <algorithm>

namespace kvdm {

namespace {

constexpr ULONG untouched = 0xFFFFFFFF;
constexpr std::size_t longestTransfer = 0x40000000;

// How far the stream has come from a position, when it can say so.
ULONG movedSince(IStream& stream, std::optional<std::uint64_t> position)
{
    std::uint64_t now = UINT64_MAX;
    if (!position || FAILED(seekStream(stream, 0, STREAM_SEEK_CUR, &now)) || now == UINT64_MAX || now < *position)
        return 0;
    return static_cast<ULONG>(std::min<std::uint64_t>(now - *position, longestTransfer));
}

// Repeats a transfer, which gets the bytes done so far, a length and the out-parameter.
template <class Transfer>
HRESULT repeat(IStream& stream, std::size_t count, std::size_t& done, std::optional<std::uint64_t> position, Transfer&& transfer)
{
    done = 0;
    while (done < count) {
        const auto length = static_cast<ULONG>(std::min(count - done, longestTransfer));
        ULONG moved = untouched;
        const HRESULT status = transfer(done, length, &moved);
        if (moved == untouched)
            moved = FAILED(status) ? 0 : movedSince(stream, position);
        moved = std::min(moved, length);
        done += moved;
        if (FAILED(status))
            return status;
        if (moved == 0)
            break;
        if (position)
            *position += moved;
    }
    return S_OK;
}

} // namespace

HRESULT readFully(IStream& stream, void* buffer, std::size_t count, std::size_t& done, std::optional<std::uint64_t> position)
{
    return repeat(stream, count, done, position,
                  [&](std::size_t at, ULONG length, ULONG* moved) { return stream.Read(static_cast<std::uint8_t*>(buffer) + at, length, moved); });
}

HRESULT writeFully(IStream& stream, const void* buffer, std::size_t count, std::size_t& done, std::optional<std::uint64_t> position)
{
    return repeat(stream, count, done, position, [&](std::size_t at, ULONG length, ULONG* moved) {
        return stream.Write(static_cast<const std::uint8_t*>(buffer) + at, length, moved);
    });
}

HRESULT seekStream(IStream& stream, std::int64_t offset, DWORD origin, std::uint64_t* reached)
{
    LARGE_INTEGER move;
    move.QuadPart = offset;
    ULARGE_INTEGER position;
    position.QuadPart = UINT64_MAX;
    const HRESULT status = stream.Seek(move, origin, &position);
    if (reached)
        *reached = position.QuadPart;
    return status;
}

} // namespace kvdm
