#include "storage/lockbytes/CLockBytesOnStream.h"

#include "common/statusOfException.h"
#include "storage/lockbytes/streamTransfer.h"

namespace kvdm {

namespace {

// A client's stream may be C++ of anybody's: nothing that it throws goes through the caller. The reference is its own, since
// the stream may let this object be destroyed while it works.
template <class Operation> HRESULT onStream(const ComPtr<IStream>& stream, Operation&& operation) noexcept
{
    return automationCall([&]() -> HRESULT {
        const ComPtr<IStream> held = stream;
        return held ? operation(*held) : STG_E_REVERTED;
    });
}

} // namespace

HRESULT CLockBytesOnStream::ReadAt(ULARGE_INTEGER offset, void* buffer, ULONG count, ULONG* read) noexcept
{
    if (read)
        *read = 0;
    if (!buffer && count != 0)
        return STG_E_INVALIDPOINTER;
    return onStream(stream, [&](IStream& target) {
        HRESULT status = seekStream(target, static_cast<std::int64_t>(offset.QuadPart), STREAM_SEEK_SET);
        if (FAILED(status))
            return status;
        std::size_t done = 0;
        status = readFully(target, buffer, count, done, offset.QuadPart);
        if (read)
            *read = static_cast<ULONG>(done);
        return status;
    });
}

HRESULT CLockBytesOnStream::WriteAt(ULARGE_INTEGER offset, const void* buffer, ULONG count, ULONG* written) noexcept
{
    if (written)
        *written = 0;
    if (!buffer && count != 0)
        return STG_E_INVALIDPOINTER;
    return onStream(stream, [&](IStream& target) {
        HRESULT status = seekStream(target, static_cast<std::int64_t>(offset.QuadPart), STREAM_SEEK_SET);
        if (FAILED(status))
            return status;
        std::size_t done = 0;
        status = writeFully(target, buffer, count, done, offset.QuadPart);
        if (written)
            *written = static_cast<ULONG>(done);
        return SUCCEEDED(status) && done < count ? STG_E_MEDIUMFULL : status;
    });
}

HRESULT CLockBytesOnStream::Flush() noexcept
{
    return onStream(stream, [](IStream& target) { return target.Commit(STGC_DEFAULT); });
}

HRESULT CLockBytesOnStream::SetSize(ULARGE_INTEGER size) noexcept
{
    return onStream(stream, [&](IStream& target) { return target.SetSize(size); });
}

HRESULT CLockBytesOnStream::LockRegion(ULARGE_INTEGER offset, ULARGE_INTEGER count, DWORD type) noexcept
{
    return onStream(stream, [&](IStream& target) { return target.LockRegion(offset, count, type); });
}

HRESULT CLockBytesOnStream::UnlockRegion(ULARGE_INTEGER offset, ULARGE_INTEGER count, DWORD type) noexcept
{
    return onStream(stream, [&](IStream& target) { return target.UnlockRegion(offset, count, type); });
}

HRESULT CLockBytesOnStream::Stat(STATSTG* statistics, DWORD flag) noexcept
{
    if (!statistics)
        return STG_E_INVALIDPOINTER;
    *statistics = STATSTG{};
    return onStream(stream, [&](IStream& target) {
        const HRESULT status = target.Stat(statistics, flag);
        if (SUCCEEDED(status))
            statistics->type = STGTY_LOCKBYTES;
        return status;
    });
}

} // namespace kvdm
