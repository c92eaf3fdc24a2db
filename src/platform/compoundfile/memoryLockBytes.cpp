#include "platform/compoundfile/lockBytes.h"

#include "common/automationObject.h"
#include "common/statusOfException.h"
#include "platform/compoundfile/streamCopy.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <new>
#include <vector>

namespace kvdm {
namespace {

// Bytes that one byte array, or a stream and its clones, share.
class MemoryBlock
{
public:
    std::uint64_t size() const noexcept { return bytes.size(); }
    void resize(std::uint64_t count)
    {
        if (count > bytes.max_size())
            throw std::bad_alloc();
        bytes.resize(static_cast<std::size_t>(count));
    }
    std::size_t read(std::uint64_t offset, void* buffer, std::size_t count) const noexcept
    {
        if (offset >= bytes.size() || count == 0)
            return 0;
        count = std::min<std::size_t>(count, bytes.size() - static_cast<std::size_t>(offset));
        std::memcpy(buffer, bytes.data() + offset, count);
        return count;
    }
    void write(std::uint64_t offset, const void* source, std::size_t count)
    {
        if (count == 0)
            return;
        if (offset + count < offset)
            throw std::bad_alloc();
        if (offset + count > bytes.size())
            resize(offset + count);
        std::memcpy(bytes.data() + offset, source, count);
    }

private:
    std::vector<std::uint8_t> bytes;
};

class MemoryLockBytes final : public SharedObject<ILockBytes>
{
public:
    HRESULT STDMETHODCALLTYPE ReadAt(ULARGE_INTEGER offset, void* buffer, ULONG count, ULONG* read) noexcept override
    {
        if (!buffer && count != 0)
            return STG_E_INVALIDPOINTER;
        const std::size_t got = block.read(offset.QuadPart, buffer, count);
        if (read)
            *read = static_cast<ULONG>(got);
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE WriteAt(ULARGE_INTEGER offset, const void* buffer, ULONG count, ULONG* written) noexcept override
    {
        return automationCall([&]() -> HRESULT {
            if (written)
                *written = 0;
            if (!buffer && count != 0)
                return STG_E_INVALIDPOINTER;
            block.write(offset.QuadPart, buffer, count);
            if (written)
                *written = count;
            return S_OK;
        });
    }
    HRESULT STDMETHODCALLTYPE Flush() noexcept override { return S_OK; }
    HRESULT STDMETHODCALLTYPE SetSize(ULARGE_INTEGER size) noexcept override
    {
        return automationCall([&]() -> HRESULT {
            block.resize(size.QuadPart);
            return S_OK;
        });
    }
    HRESULT STDMETHODCALLTYPE LockRegion(ULARGE_INTEGER, ULARGE_INTEGER, DWORD) noexcept override { return STG_E_INVALIDFUNCTION; }
    HRESULT STDMETHODCALLTYPE UnlockRegion(ULARGE_INTEGER, ULARGE_INTEGER, DWORD) noexcept override { return STG_E_INVALIDFUNCTION; }
    HRESULT STDMETHODCALLTYPE Stat(STATSTG* statistics, DWORD) noexcept override
    {
        if (!statistics)
            return STG_E_INVALIDPOINTER;
        *statistics = {};
        statistics->type = STGTY_LOCKBYTES;
        statistics->cbSize.QuadPart = block.size();
        return S_OK;
    }

private:
    MemoryBlock block;
};

class MemoryStream final : public SharedObject<IStream>
{
public:
    MemoryStream() : block(std::make_shared<MemoryBlock>()) {}
    MemoryStream(std::shared_ptr<MemoryBlock> shared, std::uint64_t start) : block(std::move(shared)), position(start) {}

    HRESULT STDMETHODCALLTYPE Read(void* buffer, ULONG count, ULONG* read) noexcept override
    {
        if (read)
            *read = 0;
        if (!buffer && count != 0)
            return STG_E_INVALIDPOINTER;
        const std::size_t got = block->read(position, buffer, count);
        position += got;
        if (read)
            *read = static_cast<ULONG>(got);
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE Write(const void* buffer, ULONG count, ULONG* written) noexcept override
    {
        return automationCall([&]() -> HRESULT {
            if (written)
                *written = 0;
            if (!buffer && count != 0)
                return STG_E_INVALIDPOINTER;
            block->write(position, buffer, count);
            position += count;
            if (written)
                *written = count;
            return S_OK;
        });
    }
    HRESULT STDMETHODCALLTYPE Seek(LARGE_INTEGER move, DWORD origin, ULARGE_INTEGER* result) noexcept override
    {
        return seekStream(position, block->size(), move, origin, result);
    }
    HRESULT STDMETHODCALLTYPE SetSize(ULARGE_INTEGER size) noexcept override
    {
        return automationCall([&]() -> HRESULT {
            block->resize(size.QuadPart);
            return S_OK;
        });
    }
    HRESULT STDMETHODCALLTYPE CopyTo(IStream* target, ULARGE_INTEGER count, ULARGE_INTEGER* read, ULARGE_INTEGER* written) noexcept override
    {
        return automationCall([&] { return copyStream(*this, target, count, read, written); });
    }
    HRESULT STDMETHODCALLTYPE Commit(DWORD) noexcept override { return S_OK; }
    HRESULT STDMETHODCALLTYPE Revert() noexcept override { return S_OK; }
    HRESULT STDMETHODCALLTYPE LockRegion(ULARGE_INTEGER, ULARGE_INTEGER, DWORD) noexcept override { return STG_E_INVALIDFUNCTION; }
    HRESULT STDMETHODCALLTYPE UnlockRegion(ULARGE_INTEGER, ULARGE_INTEGER, DWORD) noexcept override { return STG_E_INVALIDFUNCTION; }
    HRESULT STDMETHODCALLTYPE Stat(STATSTG* statistics, DWORD) noexcept override
    {
        if (!statistics)
            return STG_E_INVALIDPOINTER;
        *statistics = {};
        statistics->type = STGTY_STREAM;
        statistics->cbSize.QuadPart = block->size();
        statistics->grfMode = STGM_READWRITE | STGM_SHARE_EXCLUSIVE;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE Clone(IStream** out) noexcept override
    {
        if (!out)
            return STG_E_INVALIDPOINTER;
        *out = nullptr;
        return automationCall([&]() -> HRESULT {
            *out = new MemoryStream(block, position);
            return S_OK;
        });
    }

private:
    std::shared_ptr<MemoryBlock> block;
    std::uint64_t position = 0;
};

} // namespace

ComPtr<ILockBytes> makeMemoryLockBytes()
{
    return ComPtr<ILockBytes>::adopt(new MemoryLockBytes());
}

ComPtr<IStream> makeMemoryStream()
{
    return ComPtr<IStream>::adopt(new MemoryStream());
}

} // namespace kvdm
