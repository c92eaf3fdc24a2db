// Streams and storages as a client might hand them in: in memory, and of nobody's classes. One plan, shared by a storage and
// all that comes out of it, counts the calls, fails one of them and makes streams rude.
//
//     ForeignPlan plan;
//     ComPtr<IStream> stream = ForeignStream::over(bytes, plan);
//     ComPtr<IStorage> storage = ForeignStorage::over(builder.root(), plan);   // what CompoundFileBuilder makes, as objects
//     plan.failAt = plan.calls + 7;                                            // the seventh call from now on fails
#pragma once

#include "support/CompoundFileBuilder.h"

#include <kvdocmgr/comptr.h>
#include <kvdocmgr/oletypes.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

namespace kvdm::test {

struct ForeignPlan
{
    long calls = 0;
    long failAt = 0; // 0: never
    bool failsOnwards = false;
    HRESULT failure = STG_E_READFAULT;
    ULONG largestRead = 0xFFFFFFFF;
    bool tellsRead = true;     // false: the count of a read is left alone
    bool tellsPosition = true; // false: the position of a seek is left alone
    long live = 0;             // objects not released yet
    std::vector<DWORD> modes;  // with which elements were opened and made

    bool fails() { return ++calls, failAt != 0 && (failsOnwards ? calls >= failAt : calls == failAt); }
};

struct ForeignNode
{
    std::u16string name;
    bool isStorage = true;
    Bytes bytes;
    std::vector<std::shared_ptr<ForeignNode>> children;

    static std::shared_ptr<ForeignNode> of(const BuilderNode& made)
    {
        auto node = std::make_shared<ForeignNode>(ForeignNode{made.name, made.isStorage, made.bytes, {}});
        for (const BuilderNode& child : made.children)
            node->children.push_back(of(child));
        return node;
    }
};

template <class Interface> class ForeignObject : public Interface
{
public:
    HRESULT QueryInterface(REFIID id, void** out) override
    {
        *out = nullptr;
        if (id != IID_IUnknown && !iIs(id))
            return E_NOINTERFACE;
        *out = static_cast<Interface*>(this);
        AddRef();
        return S_OK;
    }
    ULONG AddRef() override { return ++references; }
    ULONG Release() override
    {
        const ULONG left = --references;
        if (left == 0)
            delete this;
        return left;
    }

protected:
    ForeignObject(std::shared_ptr<ForeignNode> shown, ForeignPlan& shared) : node(std::move(shown)), plan(shared) { ++plan.live; }
    virtual ~ForeignObject() { --plan.live; }
    virtual bool iIs(REFIID id) const = 0;
    // Runs a call unless it is the one that fails.
    template <class Body> HRESULT iDo(Body&& body) { return plan.fails() ? plan.failure : body(); }
    // The same for a call with an object as its output; a failing one leaves garbage there, and whoever follows it crashes.
    template <class Out, class Make> HRESULT iGive(Out** out, Make&& make)
    {
        HRESULT status = plan.fails() ? plan.failure : S_OK;
        Out* made = SUCCEEDED(status) ? make(status) : nullptr;
        *out = made ? made : reinterpret_cast<Out*>(std::uintptr_t{0x10});
        return status;
    }

    std::shared_ptr<ForeignNode> node;
    ForeignPlan& plan;

private:
    ULONG references = 1;
};

class ForeignStream final : public ForeignObject<IStream>
{
public:
    ForeignStream(std::shared_ptr<ForeignNode> shown, ForeignPlan& shared) : ForeignObject(std::move(shown), shared) {}
    static ComPtr<IStream> over(Bytes bytes, ForeignPlan& plan)
    {
        return ComPtr<IStream>::adopt(new ForeignStream(std::make_shared<ForeignNode>(ForeignNode{u"", false, std::move(bytes), {}}), plan));
    }

    HRESULT Read(void* buffer, ULONG count, ULONG* read) override
    {
        return iDo([&] {
            const std::size_t there = node->bytes.size() - std::min<std::size_t>(position, node->bytes.size());
            const std::size_t done = std::min<std::size_t>({count, plan.largestRead, there});
            std::copy_n(node->bytes.begin() + static_cast<std::ptrdiff_t>(std::min(position, node->bytes.size())), done,
                        static_cast<std::uint8_t*>(buffer));
            position += done;
            if (read && plan.tellsRead)
                *read = static_cast<ULONG>(done);
            return S_OK;
        });
    }
    HRESULT Write(const void* buffer, ULONG count, ULONG* written) override
    {
        return iDo([&] {
            node->bytes.resize(std::max<std::size_t>(node->bytes.size(), position + count));
            std::copy_n(static_cast<const std::uint8_t*>(buffer), count, node->bytes.begin() + static_cast<std::ptrdiff_t>(position));
            position += count;
            *written = count;
            return S_OK;
        });
    }
    HRESULT Seek(LARGE_INTEGER move, DWORD origin, ULARGE_INTEGER* reached) override
    {
        return iDo([&] {
            position = static_cast<std::size_t>(move.QuadPart) + (origin == STREAM_SEEK_SET   ? 0
                                                                  : origin == STREAM_SEEK_CUR ? position
                                                                                              : node->bytes.size());
            if (reached && plan.tellsPosition)
                reached->QuadPart = position;
            return S_OK;
        });
    }
    HRESULT SetSize(ULARGE_INTEGER size) override
    {
        return iDo([&] { return node->bytes.resize(size.QuadPart), S_OK; });
    }
    HRESULT CopyTo(IStream*, ULARGE_INTEGER, ULARGE_INTEGER*, ULARGE_INTEGER*) override { return E_NOTIMPL; }
    HRESULT Commit(DWORD) override
    {
        return iDo([] { return S_OK; });
    }
    HRESULT Revert() override { return E_NOTIMPL; }
    HRESULT LockRegion(ULARGE_INTEGER, ULARGE_INTEGER, DWORD) override { return STG_E_INVALIDFUNCTION; }
    HRESULT UnlockRegion(ULARGE_INTEGER, ULARGE_INTEGER, DWORD) override { return STG_E_INVALIDFUNCTION; }
    HRESULT Stat(STATSTG* statistics, DWORD) override
    {
        return iDo([&] {
            *statistics = {};
            statistics->type = STGTY_STREAM;
            statistics->cbSize.QuadPart = node->bytes.size();
            return S_OK;
        });
    }
    HRESULT Clone(IStream** out) override
    {
        return iGive(out, [&](HRESULT&) { return new ForeignStream(node, plan); });
    }

private:
    ~ForeignStream() override = default;
    bool iIs(REFIID id) const override { return id == IID_IStream || id == IID_ISequentialStream; }

    std::size_t position = 0;
};

// The elements of one moment in the order of a directory: shorter names first, then by letters (the tests' are ASCII).
class ForeignEnumerator final : public ForeignObject<IEnumSTATSTG>
{
public:
    ForeignEnumerator(std::shared_ptr<ForeignNode> shown, ForeignPlan& shared) : ForeignObject(std::move(shown), shared), elements(node->children)
    {
        std::stable_sort(elements.begin(), elements.end(), [](const auto& a, const auto& b) {
            return a->name.size() != b->name.size() ? a->name.size() < b->name.size() : a->name < b->name;
        });
    }

    HRESULT Next(ULONG count, STATSTG* out, ULONG* fetched) override
    {
        return iDo([&] {
            ULONG given = 0;
            for (; given < count && at < elements.size(); ++at, ++given) {
                const std::u16string& name = elements[at]->name;
                out[given] = {};
                out[given].type = elements[at]->isStorage ? STGTY_STORAGE : STGTY_STREAM;
                out[given].pwcsName = static_cast<LPOLESTR>(CoTaskMemAlloc(2 * name.size() + 2));
                std::memcpy(out[given].pwcsName, name.c_str(), 2 * name.size() + 2);
            }
            if (fetched)
                *fetched = given;
            return given == count ? S_OK : S_FALSE;
        });
    }
    HRESULT Skip(ULONG) override { return E_NOTIMPL; }
    HRESULT Reset() override { return E_NOTIMPL; }
    HRESULT Clone(IEnumSTATSTG**) override { return E_NOTIMPL; }

private:
    ~ForeignEnumerator() override = default;
    bool iIs(REFIID id) const override { return id == IID_IEnumSTATSTG; }

    std::vector<std::shared_ptr<ForeignNode>> elements;
    std::size_t at = 0;
};

class ForeignStorage final : public ForeignObject<IStorage>
{
public:
    ForeignStorage(std::shared_ptr<ForeignNode> shown, ForeignPlan& shared) : ForeignObject(std::move(shown), shared) {}
    static ComPtr<IStorage> over(const BuilderNode& root, ForeignPlan& plan)
    {
        return ComPtr<IStorage>::adopt(new ForeignStorage(ForeignNode::of(root), plan));
    }

    HRESULT CreateStream(LPCOLESTR name, DWORD mode, DWORD, DWORD, IStream** out) override
    {
        return iGive(out, [&](HRESULT&) { return new ForeignStream(iMake(name, mode, false), plan); });
    }
    HRESULT OpenStream(LPCOLESTR name, void*, DWORD mode, DWORD, IStream** out) override { return iOpen<ForeignStream>(name, mode, false, out); }
    HRESULT CreateStorage(LPCOLESTR name, DWORD mode, DWORD, DWORD, IStorage** out) override
    {
        return iGive(out, [&](HRESULT&) { return new ForeignStorage(iMake(name, mode, true), plan); });
    }
    HRESULT OpenStorage(LPCOLESTR name, IStorage*, DWORD mode, SNB, DWORD, IStorage** out) override
    {
        return iOpen<ForeignStorage>(name, mode, true, out);
    }
    HRESULT CopyTo(DWORD, const IID*, SNB, IStorage*) override { return E_NOTIMPL; }
    HRESULT MoveElementTo(LPCOLESTR, IStorage*, LPCOLESTR, DWORD) override { return E_NOTIMPL; }
    HRESULT Commit(DWORD) override
    {
        return iDo([] { return S_OK; });
    }
    HRESULT Revert() override { return E_NOTIMPL; }
    HRESULT EnumElements(DWORD, void*, DWORD, IEnumSTATSTG** out) override
    {
        return iGive(out, [&](HRESULT&) { return new ForeignEnumerator(node, plan); });
    }
    HRESULT DestroyElement(LPCOLESTR name) override
    {
        return iDo([&] {
            const auto found = iFind(name);
            if (found == node->children.end())
                return STG_E_FILENOTFOUND;
            node->children.erase(found);
            return S_OK;
        });
    }
    HRESULT RenameElement(LPCOLESTR from, LPCOLESTR to) override
    {
        return iDo([&] {
            const auto found = iFind(from);
            if (found == node->children.end())
                return STG_E_FILENOTFOUND;
            (*found)->name = to;
            return S_OK;
        });
    }
    HRESULT SetElementTimes(LPCOLESTR, const FILETIME*, const FILETIME*, const FILETIME*) override { return E_NOTIMPL; }
    HRESULT SetClass(REFCLSID) override { return E_NOTIMPL; }
    HRESULT SetStateBits(DWORD, DWORD) override { return E_NOTIMPL; }
    HRESULT Stat(STATSTG*, DWORD) override { return E_NOTIMPL; }

private:
    ~ForeignStorage() override = default;
    bool iIs(REFIID id) const override { return id == IID_IStorage; }
    std::vector<std::shared_ptr<ForeignNode>>::iterator iFind(LPCOLESTR name)
    {
        const auto lower = [](std::u16string text) {
            for (char16_t& unit : text)
                unit = unit >= u'A' && unit <= u'Z' ? static_cast<char16_t>(unit + 32) : unit;
            return text;
        };
        return std::find_if(node->children.begin(), node->children.end(), [&](const auto& child) { return lower(child->name) == lower(name); });
    }
    std::shared_ptr<ForeignNode> iMake(LPCOLESTR name, DWORD mode, bool isStorage)
    {
        plan.modes.push_back(mode);
        if (const auto old = iFind(name); old != node->children.end())
            node->children.erase(old);
        return node->children.emplace_back(std::make_shared<ForeignNode>(ForeignNode{name, isStorage, {}, {}}));
    }
    template <class Wrapper, class Interface> HRESULT iOpen(LPCOLESTR name, DWORD mode, bool isStorage, Interface** out)
    {
        return iGive(out, [&](HRESULT& status) -> Interface* {
            plan.modes.push_back(mode);
            const auto found = iFind(name);
            if (found != node->children.end() && (*found)->isStorage == isStorage)
                return new Wrapper(*found, plan);
            status = STG_E_FILENOTFOUND;
            return nullptr;
        });
    }
};

// An object with two faces, a stream and a storage, or with neither. For the stack of a test.
class ForeignPair final : public IUnknown
{
public:
    ForeignPair(ComPtr<IStream> first, ComPtr<IStorage> second) : stream(std::move(first)), storage(std::move(second)) {}
    virtual ~ForeignPair() = default;

    HRESULT QueryInterface(REFIID id, void** out) override
    {
        *out = nullptr;
        if (id == IID_IStream && stream)
            return stream->QueryInterface(id, out);
        if (id == IID_IStorage && storage)
            return storage->QueryInterface(id, out);
        return E_NOINTERFACE;
    }
    ULONG AddRef() override { return ++references; }
    ULONG Release() override { return --references; }

    ULONG references = 1;

private:
    ComPtr<IStream> stream;
    ComPtr<IStorage> storage;
};

} // namespace kvdm::test
