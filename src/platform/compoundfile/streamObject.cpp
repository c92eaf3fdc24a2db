#include "platform/compoundfile/streamObject.h"

#include "common/automationText.h"
#include "common/exceptions.h"
#include "common/statusOfException.h"
#include "platform/compoundfile/streamCopy.h"

namespace kvdm {

LPOLESTR copyForCaller(std::u16string_view name)
{
    const LPOLESTR copy = copyForTask(name);
    if (!copy)
        throw suOleException(STG_E_INSUFFICIENTMEMORY);
    return copy;
}

template <class Body> HRESULT StreamObject::iCall(Body&& body) noexcept
{
    return automationCall([&]() -> HRESULT {
        const std::lock_guard lock(stream->file->mutex);
        return stream->element.isReverted() ? STG_E_REVERTED : body();
    });
}

StreamObject::~StreamObject()
{
    const std::shared_ptr<CompoundFile> file = stream->file; // the mutex outlives the lock
    const std::lock_guard lock(file->mutex);
    stream.reset();
}

HRESULT StreamObject::Read(void* buffer, ULONG count, ULONG* read) noexcept
{
    if (read)
        *read = 0;
    if (!buffer && count != 0)
        return STG_E_INVALIDPOINTER;
    return iCall([&]() -> HRESULT {
        if ((stream->mode & STGM_WRITE) != 0)
            return STG_E_ACCESSDENIED;
        const StreamContent::Transfer done = stream->content->read(position, buffer, count);
        position += done.count;
        if (read)
            *read = static_cast<ULONG>(done.count);
        return done.status;
    });
}

HRESULT StreamObject::Write(const void* buffer, ULONG count, ULONG* written) noexcept
{
    if (written)
        *written = 0;
    if (!buffer && count != 0)
        return STG_E_INVALIDPOINTER;
    return iCall([&]() -> HRESULT {
        if ((stream->mode & (STGM_WRITE | STGM_READWRITE)) == 0)
            return STG_E_ACCESSDENIED;
        stream->content->write(position, buffer, count);
        position += count;
        if (written)
            *written = count;
        return S_OK;
    });
}

HRESULT StreamObject::Seek(LARGE_INTEGER move, DWORD origin, ULARGE_INTEGER* result) noexcept
{
    return iCall([&] { return seekStream(position, stream->content->size(), move, origin, result); });
}

HRESULT StreamObject::SetSize(ULARGE_INTEGER size) noexcept
{
    return iCall([&]() -> HRESULT {
        if ((stream->mode & (STGM_WRITE | STGM_READWRITE)) == 0)
            return STG_E_ACCESSDENIED;
        stream->content->resize(size.QuadPart);
        return S_OK;
    });
}

HRESULT StreamObject::CopyTo(IStream* target, ULARGE_INTEGER count, ULARGE_INTEGER* read, ULARGE_INTEGER* written) noexcept
{
    return iCall([&] { return copyStream(*this, target, count, read, written); });
}

// Streams are never transacted: what is written belongs to the storage's transaction at once.
HRESULT StreamObject::Commit(DWORD) noexcept
{
    return iCall([]() -> HRESULT { return S_OK; });
}

HRESULT StreamObject::Revert() noexcept
{
    return iCall([]() -> HRESULT { return S_OK; });
}

HRESULT StreamObject::LockRegion(ULARGE_INTEGER, ULARGE_INTEGER, DWORD) noexcept
{
    return STG_E_INVALIDFUNCTION;
}

HRESULT StreamObject::UnlockRegion(ULARGE_INTEGER, ULARGE_INTEGER, DWORD) noexcept
{
    return STG_E_INVALIDFUNCTION;
}

HRESULT StreamObject::Stat(STATSTG* statistics, DWORD flag) noexcept
{
    if (!statistics)
        return STG_E_INVALIDPOINTER;
    *statistics = {};
    if (flag > STATFLAG_NONAME)
        return STG_E_INVALIDFLAG;
    return iCall([&]() -> HRESULT {
        if (flag == STATFLAG_DEFAULT)
            statistics->pwcsName = copyForCaller(stream->name);
        statistics->type = STGTY_STREAM;
        statistics->cbSize.QuadPart = stream->content->size();
        statistics->grfMode = stream->mode;
        return S_OK;
    });
}

HRESULT StreamObject::Clone(IStream** out) noexcept
{
    if (!out)
        return STG_E_INVALIDPOINTER;
    *out = nullptr;
    return iCall([&]() -> HRESULT {
        *out = new StreamObject(stream, position);
        return S_OK;
    });
}

} // namespace kvdm
