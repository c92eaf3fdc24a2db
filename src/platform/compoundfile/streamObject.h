// IStream over one stream of a compound file.
#pragma once

#include "common/automationObject.h"
#include "platform/compoundfile/compoundFile.h"
#include "platform/compoundfile/openElement.h"

namespace kvdm {

// What a stream and its clones share.
struct OpenStream
{
    OpenStream(std::shared_ptr<CompoundFile> ownerFile, ElementId id, OpenElement* parent, std::shared_ptr<StreamContent> bytes,
               std::u16string streamName, DWORD streamMode)
        : file(std::move(ownerFile)), element(id, parent), content(std::move(bytes)), name(std::move(streamName)), mode(streamMode)
    {}

    std::shared_ptr<CompoundFile> file;
    OpenElement element;
    std::shared_ptr<StreamContent> content;
    std::u16string name;
    DWORD mode;
};

class StreamObject final : public SharedObject<IStream>
{
public:
    StreamObject(std::shared_ptr<OpenStream> openStream, std::uint64_t start) : stream(std::move(openStream)), position(start) {}

    HRESULT STDMETHODCALLTYPE Read(void* buffer, ULONG count, ULONG* read) noexcept override;
    HRESULT STDMETHODCALLTYPE Write(const void* buffer, ULONG count, ULONG* written) noexcept override;
    HRESULT STDMETHODCALLTYPE Seek(LARGE_INTEGER move, DWORD origin, ULARGE_INTEGER* result) noexcept override;
    HRESULT STDMETHODCALLTYPE SetSize(ULARGE_INTEGER size) noexcept override;
    HRESULT STDMETHODCALLTYPE CopyTo(IStream* target, ULARGE_INTEGER count, ULARGE_INTEGER* read, ULARGE_INTEGER* written) noexcept override;
    HRESULT STDMETHODCALLTYPE Commit(DWORD flags) noexcept override;
    HRESULT STDMETHODCALLTYPE Revert() noexcept override;
    HRESULT STDMETHODCALLTYPE LockRegion(ULARGE_INTEGER offset, ULARGE_INTEGER count, DWORD type) noexcept override;
    HRESULT STDMETHODCALLTYPE UnlockRegion(ULARGE_INTEGER offset, ULARGE_INTEGER count, DWORD type) noexcept override;
    HRESULT STDMETHODCALLTYPE Stat(STATSTG* statistics, DWORD flag) noexcept override;
    HRESULT STDMETHODCALLTYPE Clone(IStream** out) noexcept override;

private:
    ~StreamObject() override;
    template <class Body> HRESULT iCall(Body&& body) noexcept;

    std::shared_ptr<OpenStream> stream;
    std::uint64_t position;
};

// A copy of the name that the caller of Stat or Next frees by CoTaskMemFree. Throws STG_E_INSUFFICIENTMEMORY.
LPOLESTR copyForCaller(std::u16string_view name);

} // namespace kvdm
