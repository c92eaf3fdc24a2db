// A client's stream with the habits that streams of other programs have.
#pragma once

#include "common/automationObject.h"

#include <kvdocmgr/oletypes.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

namespace kvdm::test {

// Born with one reference. Content of `size` bytes where the byte at p is patternAt(p), until something is written.
class ClientStream final : public SharedObject<IStream>
{
public:
    explicit ClientStream(std::uint64_t bytes = 0) : size(bytes) {}

    static std::uint8_t patternAt(std::uint64_t place) { return static_cast<std::uint8_t>(place * 7 + (place >> 32)); }

    // habits
    ULONG mostAtOnce = 0xFFFFFFFF; // bytes that one call moves
    bool leavesOutParameters = false;
    std::uint64_t room = UINT64_MAX; // writes behind it take nothing
    HRESULT seekStatus = S_OK;
    HRESULT status = S_OK; // of every other operation

    // what was seen
    std::uint64_t size;
    std::uint64_t position = 0;
    std::vector<std::uint8_t> written;
    std::uint64_t writtenAt = 0;
    std::string calls;

    HRESULT STDMETHODCALLTYPE Read(void* buffer, ULONG count, ULONG* read) noexcept override
    {
        if (FAILED(status))
            return status;
        const auto run = static_cast<ULONG>(std::min<std::uint64_t>(std::min(count, mostAtOnce), position < size ? size - position : 0));
        for (ULONG i = 0; i < run; ++i)
            static_cast<std::uint8_t*>(buffer)[i] = patternAt(position + i);
        position += run;
        if (read && !leavesOutParameters)
            *read = run;
        return run == count ? S_OK : S_FALSE;
    }
    HRESULT STDMETHODCALLTYPE Write(const void* buffer, ULONG count, ULONG* done) noexcept override
    {
        if (FAILED(status))
            return status;
        const auto run = static_cast<ULONG>(std::min<std::uint64_t>(std::min(count, mostAtOnce), position < room ? room - position : 0));
        if (written.empty())
            writtenAt = position;
        const auto* bytes = static_cast<const std::uint8_t*>(buffer);
        written.insert(written.end(), bytes, bytes + run);
        position += run;
        size = std::max(size, position);
        if (done && !leavesOutParameters)
            *done = run;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE Seek(LARGE_INTEGER move, DWORD origin, ULARGE_INTEGER* reached) noexcept override
    {
        if (FAILED(seekStatus))
            return seekStatus;
        const std::uint64_t base = origin == STREAM_SEEK_SET ? 0 : origin == STREAM_SEEK_CUR ? position : size;
        position = base + static_cast<std::uint64_t>(move.QuadPart);
        if (reached)
            reached->QuadPart = position;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE SetSize(ULARGE_INTEGER bytes) noexcept override
    {
        if (SUCCEEDED(status))
            size = bytes.QuadPart;
        return iCalled("SetSize");
    }
    HRESULT STDMETHODCALLTYPE CopyTo(IStream*, ULARGE_INTEGER, ULARGE_INTEGER*, ULARGE_INTEGER*) noexcept override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE Commit(DWORD flags) noexcept override { return iCalled("Commit" + std::to_string(flags)); }
    HRESULT STDMETHODCALLTYPE Revert() noexcept override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE LockRegion(ULARGE_INTEGER offset, ULARGE_INTEGER count, DWORD type) noexcept override
    {
        return iCalled("Lock" + iRegion(offset, count, type));
    }
    HRESULT STDMETHODCALLTYPE UnlockRegion(ULARGE_INTEGER offset, ULARGE_INTEGER count, DWORD type) noexcept override
    {
        return iCalled("Unlock" + iRegion(offset, count, type));
    }
    HRESULT STDMETHODCALLTYPE Stat(STATSTG* statistics, DWORD flag) noexcept override
    {
        if (SUCCEEDED(status)) {
            statistics->type = STGTY_STREAM;
            statistics->cbSize.QuadPart = size;
            statistics->grfMode = flag;
        }
        return status;
    }
    HRESULT STDMETHODCALLTYPE Clone(IStream**) noexcept override { return E_NOTIMPL; }

private:
    HRESULT iCalled(const std::string& call)
    {
        calls += call + ';';
        return status;
    }
    static std::string iRegion(ULARGE_INTEGER offset, ULARGE_INTEGER count, DWORD type)
    {
        return std::to_string(offset.QuadPart) + ',' + std::to_string(count.QuadPart) + ',' + std::to_string(type);
    }
};

inline ULARGE_INTEGER large(std::uint64_t value)
{
    ULARGE_INTEGER result;
    result.QuadPart = value;
    return result;
}

} // namespace kvdm::test
