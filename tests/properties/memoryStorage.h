// A storage of named streams in memory, as a client might hand one in: streams may give less than asked, fail, or leave
// their out-parameters alone.
#pragma once

#include "common/automationObject.h"
#include "common/automationText.h"

#include <algorithm>
#include <cstring>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace kvdm::test {

struct StreamBehaviour
{
    std::size_t largestRead = SIZE_MAX;
    std::size_t failReadAt = SIZE_MAX; // the position from which reading fails
    std::size_t capacity = SIZE_MAX;   // of writing
    HRESULT openStatus = S_OK;         // what opening it gives
};

struct MemoryContent
{
    std::string bytes;
    StreamBehaviour behaviour;
};

class MemoryStream final : public SharedObject<IStream>
{
public:
    explicit MemoryStream(std::shared_ptr<MemoryContent> shared) : content(std::move(shared)) {}

    HRESULT Read(void* buffer, ULONG count, ULONG* read) override
    {
        if (position >= content->behaviour.failReadAt)
            return STG_E_READFAULT;
        const std::size_t there = content->bytes.size() - std::min(position, content->bytes.size());
        const std::size_t got = std::min({std::size_t{count}, there, content->behaviour.largestRead, content->behaviour.failReadAt - position});
        if (got == 0)
            return S_FALSE; // leaves *read alone
        std::memcpy(buffer, content->bytes.data() + position, got);
        position += got;
        *read = static_cast<ULONG>(got);
        return S_OK;
    }
    HRESULT Write(const void* buffer, ULONG count, ULONG* written) override
    {
        const std::size_t taken = std::min<std::size_t>(count, content->behaviour.capacity - std::min(content->behaviour.capacity, position));
        content->bytes.resize(std::max(content->bytes.size(), position + taken));
        std::memcpy(content->bytes.data() + position, buffer, taken);
        position += taken;
        *written = static_cast<ULONG>(taken);
        return taken == count ? S_OK : STG_E_MEDIUMFULL;
    }
    HRESULT Seek(LARGE_INTEGER, DWORD, ULARGE_INTEGER*) override { return E_NOTIMPL; }
    HRESULT SetSize(ULARGE_INTEGER size) override
    {
        content->bytes.resize(static_cast<std::size_t>(size.QuadPart));
        return S_OK;
    }
    HRESULT CopyTo(IStream*, ULARGE_INTEGER, ULARGE_INTEGER*, ULARGE_INTEGER*) override { return E_NOTIMPL; }
    HRESULT Commit(DWORD) override { return S_OK; }
    HRESULT Revert() override { return E_NOTIMPL; }
    HRESULT LockRegion(ULARGE_INTEGER, ULARGE_INTEGER, DWORD) override { return E_NOTIMPL; }
    HRESULT UnlockRegion(ULARGE_INTEGER, ULARGE_INTEGER, DWORD) override { return E_NOTIMPL; }
    HRESULT Stat(STATSTG*, DWORD) override { return E_NOTIMPL; }
    HRESULT Clone(IStream**) override { return E_NOTIMPL; }

private:
    std::shared_ptr<MemoryContent> content;
    std::size_t position = 0;
};

class MemoryStorage final : public SharedObject<IStorage>
{
public:
    std::map<std::u16string, std::shared_ptr<MemoryContent>> streams;
    HRESULT createStatus = S_OK;
    std::vector<DWORD> openModes;

    MemoryContent& add(const std::u16string& name, std::string bytes)
    {
        streams[name] = std::make_shared<MemoryContent>(MemoryContent{std::move(bytes), {}});
        return *streams[name];
    }
    std::string bytesOf(const std::u16string& name) const { return streams.count(name) ? streams.at(name)->bytes : std::string("(none)"); }

    HRESULT OpenStream(LPCOLESTR name, void*, DWORD mode, DWORD, IStream** out) override
    {
        openModes.push_back(mode);
        const auto at = streams.find(std::u16string(fromOle(name)));
        if (at == streams.end())
            return STG_E_FILENOTFOUND;
        if (FAILED(at->second->behaviour.openStatus))
            return at->second->behaviour.openStatus;
        *out = new MemoryStream(at->second);
        return S_OK;
    }
    HRESULT CreateStream(LPCOLESTR name, DWORD, DWORD, DWORD, IStream** out) override
    {
        if (FAILED(createStatus))
            return createStatus;
        add(std::u16string(fromOle(name)), {});
        *out = new MemoryStream(streams[std::u16string(fromOle(name))]);
        return S_OK;
    }
    HRESULT DestroyElement(LPCOLESTR name) override { return streams.erase(std::u16string(fromOle(name))) ? S_OK : STG_E_FILENOTFOUND; }
    HRESULT CreateStorage(LPCOLESTR, DWORD, DWORD, DWORD, IStorage**) override { return E_NOTIMPL; }
    HRESULT OpenStorage(LPCOLESTR, IStorage*, DWORD, SNB, DWORD, IStorage**) override { return E_NOTIMPL; }
    HRESULT CopyTo(DWORD, const IID*, SNB, IStorage*) override { return E_NOTIMPL; }
    HRESULT MoveElementTo(LPCOLESTR, IStorage*, LPCOLESTR, DWORD) override { return E_NOTIMPL; }
    HRESULT Commit(DWORD) override { return S_OK; }
    HRESULT Revert() override { return E_NOTIMPL; }
    HRESULT EnumElements(DWORD, void*, DWORD, IEnumSTATSTG**) override { return E_NOTIMPL; }
    HRESULT RenameElement(LPCOLESTR, LPCOLESTR) override { return E_NOTIMPL; }
    HRESULT SetElementTimes(LPCOLESTR, const FILETIME*, const FILETIME*, const FILETIME*) override { return E_NOTIMPL; }
    HRESULT SetClass(REFCLSID) override { return E_NOTIMPL; }
    HRESULT SetStateBits(DWORD, DWORD) override { return E_NOTIMPL; }
    HRESULT Stat(STATSTG*, DWORD) override { return E_NOTIMPL; }
};

} // namespace kvdm::test
