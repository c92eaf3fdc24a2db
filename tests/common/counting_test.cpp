// Who counts, and when: the pointer and the object that the interfaces rest on.
#include "common/automationObject.h"
#include "common/exceptions.h"
#include "common/statusOfException.h"

#include <gtest/gtest.h>

#include <new>
#include <stdexcept>

using namespace kvdm;

namespace {

// Counts every call, so that a test sees a reference too many as well as one too few.
struct Fake final : IUnknown
{
    HRESULT QueryInterface(REFIID, void**) override { return E_NOINTERFACE; }
    ULONG AddRef() override
    {
        ++added;
        return ++references;
    }
    ULONG Release() override
    {
        ++released;
        return --references;
    }
    ULONG references = 1;
    int added = 0, released = 0;
};

TEST(ComPtr, SaysWhoCounts)
{
    Fake fake;
    {
        auto lent = ComPtr<IUnknown>::share(&fake);
        EXPECT_EQ(fake.references, 2u);
        ComPtr<IUnknown> copy = lent;
        EXPECT_EQ(fake.references, 3u);
        ComPtr<IUnknown> moved = std::move(copy);
        EXPECT_EQ(fake.references, 3u);
        EXPECT_FALSE(copy);
        moved = *&moved; // onto itself
        EXPECT_EQ(fake.references, 3u);
        moved = nullptr;
        EXPECT_EQ(fake.references, 2u);
        *lent.put() = nullptr; // an out-parameter lets go of what was there
        EXPECT_EQ(fake.references, 1u);
        ++fake.references;
        auto adopted = ComPtr<IUnknown>::adopt(&fake);
        EXPECT_EQ(adopted.detach(), &fake);
        EXPECT_EQ(fake.references, 2u);
        --fake.references;
    }
    EXPECT_EQ(fake.references, 1u);
    EXPECT_EQ(fake.added, 3);
    EXPECT_FALSE(ComPtr<IUnknown>::share(nullptr));
}

TEST(ComPtr, TheOldObjectGoesWhenNothingRefersToItAnyMore)
{
    struct Holder final : IUnknown
    {
        HRESULT QueryInterface(REFIID, void**) override { return E_NOINTERFACE; }
        ULONG AddRef() override { return 2; }
        ULONG Release() override
        {
            seen = pointer->get();
            return 0;
        }
        ComPtr<IUnknown>* pointer = nullptr;
        IUnknown* seen = this;
    } holder;
    ComPtr<IUnknown> pointer = ComPtr<IUnknown>::adopt(&holder);
    holder.pointer = &pointer;
    pointer = nullptr;
    EXPECT_EQ(holder.seen, nullptr);
}

class Two final : public AutomationObject<IStream, ISupportErrorInfo>
{
public:
    explicit Two(int& living) : alive(living) { ++alive; }
    HRESULT Read(void*, ULONG, ULONG*) override { return E_NOTIMPL; }
    HRESULT Write(const void*, ULONG, ULONG*) override { return E_NOTIMPL; }
    HRESULT Seek(LARGE_INTEGER, DWORD, ULARGE_INTEGER*) override { return E_NOTIMPL; }
    HRESULT SetSize(ULARGE_INTEGER) override { return E_NOTIMPL; }
    HRESULT CopyTo(IStream*, ULARGE_INTEGER, ULARGE_INTEGER*, ULARGE_INTEGER*) override { return E_NOTIMPL; }
    HRESULT Commit(DWORD) override { return E_NOTIMPL; }
    HRESULT Revert() override { return E_NOTIMPL; }
    HRESULT LockRegion(ULARGE_INTEGER, ULARGE_INTEGER, DWORD) override { return E_NOTIMPL; }
    HRESULT UnlockRegion(ULARGE_INTEGER, ULARGE_INTEGER, DWORD) override { return E_NOTIMPL; }
    HRESULT Stat(STATSTG*, DWORD) override { return E_NOTIMPL; }
    HRESULT Clone(IStream**) override { return E_NOTIMPL; }
    HRESULT InterfaceSupportsErrorInfo(REFIID) override { return S_FALSE; }

private:
    ~Two() override { --alive; }
    int& alive;
};

TEST(CountedObject, AnswersForItsInterfacesAndAllThatTheySucceed)
{
    int living = 0;
    {
        const ComPtr<Two> object = makeObject<Two>(living);
        void* out = &living;
        EXPECT_EQ(object->QueryInterface(IID_IStorage, &out), E_NOINTERFACE);
        EXPECT_EQ(out, nullptr);
        EXPECT_EQ(object->QueryInterface(IID_IStream, nullptr), E_POINTER);
        const auto stream = queryAs<IStream>(static_cast<IStream*>(object.get()));
        const auto sequential = queryAs<ISequentialStream>(stream.get());
        const auto info = queryAs<ISupportErrorInfo>(stream.get());
        ASSERT_TRUE(stream && sequential && info);
        EXPECT_EQ(info->InterfaceSupportsErrorInfo(IID_IStream), S_FALSE);
        // One identity, whichever interface is asked.
        EXPECT_EQ(queryAs<IUnknown>(stream.get()).get(), queryAs<IUnknown>(info.get()).get());
        EXPECT_EQ(stream->AddRef(), 5u);
        EXPECT_EQ(stream->Release(), 4u);
        EXPECT_FALSE(queryAs<IStream>(nullptr));
    }
    EXPECT_EQ(living, 0);
}

TEST(Statuses, EveryExceptionHasOne)
{
    EXPECT_EQ(automationCall([]() -> HRESULT { return S_FALSE; }), S_FALSE);
    EXPECT_EQ(automationCall([]() -> HRESULT { throw suOleException(STG_E_ACCESSDENIED); }), STG_E_ACCESSDENIED);
    EXPECT_EQ(automationCall([]() -> HRESULT { throw std::bad_alloc(); }), E_OUTOFMEMORY);
    EXPECT_EQ(automationCall([]() -> HRESULT { throw suInvalidArgumentException(); }), E_INVALIDARG);
    EXPECT_EQ(automationCall([]() -> HRESULT { throw suArchiveException(suArchiveException::endOfFile); }), E_FAIL);
    EXPECT_EQ(automationCall([]() -> HRESULT { throw suFileException(suFileException::diskFull); }), E_FAIL);
    EXPECT_EQ(automationCall([]() -> HRESULT { throw std::runtime_error("any"); }), E_FAIL);
    EXPECT_EQ(automationCall([]() -> HRESULT { throw 1; }), E_FAIL);
}

} // namespace
