#include "platform/compoundfile/streamCopy.h"

#include <algorithm>
#include <memory>

namespace kvdm {

HRESULT seekStream(std::uint64_t& position, std::uint64_t size, LARGE_INTEGER move, DWORD origin, ULARGE_INTEGER* result) noexcept
{
    std::uint64_t base = 0;
    if (origin == STREAM_SEEK_CUR)
        base = position;
    else if (origin == STREAM_SEEK_END)
        base = size;
    else if (origin != STREAM_SEEK_SET)
        return STG_E_INVALIDFUNCTION;
    const auto distance = static_cast<std::uint64_t>(move.QuadPart);
    // From the start the distance has no sign; otherwise neither end may be passed.
    const std::uint64_t target = base + distance;
    if (origin != STREAM_SEEK_SET && (move.QuadPart < 0 ? target > base : target < base))
        return STG_E_INVALIDFUNCTION;
    if (target > static_cast<std::uint64_t>(INT64_MAX))
        return STG_E_INVALIDFUNCTION;
    position = target;
    if (result)
        result->QuadPart = target;
    return S_OK;
}

HRESULT copyStream(IStream& source, IStream* target, ULARGE_INTEGER count, ULARGE_INTEGER* read, ULARGE_INTEGER* written)
{
    if (read)
        read->QuadPart = 0;
    if (written)
        written->QuadPart = 0;
    if (!target)
        return STG_E_INVALIDPOINTER;
    constexpr std::size_t blockBytes = 1 << 18;
    const auto block =
        std::make_unique<unsigned char[]>(static_cast<std::size_t>(std::min<std::uint64_t>(blockBytes, std::max<std::uint64_t>(count.QuadPart, 1))));
    std::uint64_t got = 0, put = 0;
    HRESULT status = S_OK;
    while (got < count.QuadPart) {
        const auto wanted = static_cast<ULONG>(std::min<std::uint64_t>(blockBytes, count.QuadPart - got));
        ULONG piece = 0;
        status = source.Read(block.get(), wanted, &piece);
        piece = std::min(piece, wanted);
        got += piece;
        ULONG done = 0;
        while (done < piece) {
            ULONG step = 0;
            const HRESULT writeStatus = target->Write(block.get() + done, piece - done, &step);
            step = std::min(step, piece - done);
            done += step;
            put += step;
            if (FAILED(writeStatus) || step == 0) {
                status = FAILED(writeStatus) ? writeStatus : STG_E_MEDIUMFULL;
                break;
            }
        }
        if (FAILED(status) || piece == 0)
            break;
    }
    if (read)
        read->QuadPart = got;
    if (written)
        written->QuadPart = put;
    return FAILED(status) ? status : S_OK;
}

} // namespace kvdm
