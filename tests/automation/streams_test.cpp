// GetDocument2: documents on a client's stream or storage, whoever made it and however it behaves.
#include "automation/automationTools.h"
#include "support/ForeignObjects.h"
#include "support/StorageTools.h"

namespace kvdm::test {
namespace {

DocumentBuilder sample(int version = 3800)
{
    DocumentBuilder document(version);
    document.visible("Material", textValue("Steel")).summary(2, textValue("On a stream")).summary(3, textValue("Subject"));
    return document;
}

struct Result
{
    HRESULT status;
    KvDmDocumentOpenError error = static_cast<KvDmDocumentOpenError>(-1);
    ComPtr<IKvDMDocument12> document;
};

Result open(IKvDMApplication2& application, IUnknown* object)
{
    Result result;
    auto* const untouched = reinterpret_cast<IKvDMDocument*>(&result);
    IKvDMDocument* document = untouched;
    result.status = application.GetDocument2(object, &result.error, &document);
    if (document != untouched) {
        EXPECT_EQ(document->QueryInterface(IID_IKvDMDocument12, result.document.putVoid()), S_OK);
        document->Release();
    }
    return result;
}

std::string titleOf(const Result& result)
{
    return result.document ? textFrom(*result.document, &IKvDMDocument::get_Title) : "(none)";
}

TEST(GetDocument2, ReadsAStreamAndAStorage)
{
    for (const bool asStorage : {false, true}) {
        ForeignPlan plan;
        const auto application = newApplication();
        {
            auto document = sample();
            ForeignPair pair(asStorage ? nullptr : ForeignStream::over(document.build(), plan),
                             asStorage ? ForeignStorage::over(document.made(), plan) : nullptr);
            Result result = open(*application, &pair);
            EXPECT_EQ(result.status, S_OK);
            EXPECT_EQ(result.error, kvDmDocumentOpenErrorNone);
            ASSERT_TRUE(result.document);
            EXPECT_EQ(textFrom(*result.document, &IKvDMDocument::get_FullName), "");
            EXPECT_EQ(versionOf(*result.document), 0) << "a document on a client's storage does not know its version";
            EXPECT_EQ(valueFrom(*result.document, &IKvDMDocument::IsDetachedDrawing, VARIANT_TRUE, E_FAIL), VARIANT_FALSE);
            EXPECT_EQ(valueFrom(*result.document, &IKvDMDocument::GetLastUpdateStamp, LONG{0}), 7);
            // What opening has read is served without another call of the client's object.
            plan.failAt = 1;
            plan.failsOnwards = true;
            plan.calls = 0;
            EXPECT_EQ(titleOf(result), "On a stream");
            EXPECT_EQ(textsFrom(*result.document, &IKvDMDocument::GetCustomPropertyNames), std::vector<std::string>{"Material"});
            EXPECT_EQ(textsFrom(*result.document, &IKvDMDocument5::GetLinkedAttachments), (std::vector<std::string>{"a", "b"}));
            EXPECT_EQ(plan.calls, 0);
            plan.failAt = 0;
            // Closed, there is no way back to the storage; what was read serves on.
            EXPECT_EQ(result.document->CloseDoc(), S_OK);
            EXPECT_EQ(versionOf(*result.document), -99);
            EXPECT_EQ(titleOf(result), "On a stream");
            EXPECT_EQ(valueFrom(*result.document, &IKvDMDocument::Save, kvDmDocumentSaveErrorNone), kvDmDocumentSaveErrorFail);
            result.document.reset();
            EXPECT_EQ(pair.references, 1u);
        }
        EXPECT_EQ(plan.live, asStorage ? 0 : 1) << "the application keeps the stream that it opened last";
        // The application goes at the end of the loop.
    }
    EXPECT_EQ(DllCanUnloadNow(), S_OK);
}

// A client's storage takes a save when it is open for writing; a stream is opened for reading alone. Both can be left for a file.
TEST(GetDocument2, SavesIntoAStorageAndAsAFile)
{
    TemporaryFolder folder;
    const std::string path = folder / "a.kvdprt";
    for (const bool asStorage : {true, false}) {
        ForeignPlan plan;
        const auto application = newApplication();
        const auto bytes = lockBytesOf(sample().build());
        ComPtr<IStorage> storage;
        ASSERT_EQ(StgOpenStorageOnILockBytes(bytes.get(), nullptr, STGM_TRANSACTED | writeElement, nullptr, 0, storage.put()), S_OK);
        ForeignPair pair(asStorage ? nullptr : ForeignStream::over(sample().build(), plan), asStorage ? storage : nullptr);
        const auto document = open(*application, &pair).document;
        ASSERT_TRUE(document);
        EXPECT_EQ(document->put_Title(OwnedBstr(u"Saved").get()), S_OK);
        auto error = valueFrom(*document, &IKvDMDocument::Save, kvDmDocumentSaveErrorReadOnly);
        EXPECT_EQ(error, asStorage ? kvDmDocumentSaveErrorNone : kvDmDocumentSaveErrorFail);
        writeWholeFile(path, bytesOf(*bytes));
        EXPECT_EQ(textFrom(*mustOpen(path), &IKvDMDocument::get_Title), asStorage ? "Saved" : "On a stream") << "what is committed";
        EXPECT_EQ(document->SaveAs(OwnedBstr(fromUtf8(path)).get(), &error), S_OK);
        EXPECT_EQ(error, kvDmDocumentSaveErrorNone);
        EXPECT_EQ(versionOf(*mustOpen(path)), 3800) << "the marker came with the copy";
        EXPECT_EQ(textFrom(*mustOpen(path), &IKvDMDocument::get_Title), "Saved");
        EXPECT_EQ(document->put_Title(OwnedBstr(u"Again").get()), S_OK);
        EXPECT_EQ(valueFrom(*document, &IKvDMDocument::Save, kvDmDocumentSaveErrorFail), kvDmDocumentSaveErrorNone);
        EXPECT_EQ(textFrom(*mustOpen(path), &IKvDMDocument::get_Title), "Again");
    }
}

TEST(GetDocument2, TellsWhatItCannotOpen)
{
    ForeignPlan plan;
    const auto application = newApplication();
    ForeignPair neither(nullptr, nullptr);
    ForeignPair text(ForeignStream::over(patternBytes(5000), plan), nullptr);
    ForeignPair empty(ForeignStream::over({}, plan), nullptr);
    ForeignPair tooNewStream(ForeignStream::over(sample(3801).build(), plan), nullptr);
    ForeignPair tooNewStorage(nullptr, ForeignStorage::over(sample(3801).made(), plan));
    struct Case
    {
        const char* what;
        IUnknown* object;
        bool fails;
    };
    for (const Case& c : {Case{"null", nullptr, false}, Case{"neither", &neither, false}, Case{"text", &text, true}, Case{"empty", &empty, true},
                          Case{"too new, stream", &tooNewStream, false}, Case{"too new, storage", &tooNewStorage, false}}) {
        const Result result = open(*application, c.object);
        EXPECT_EQ(FAILED(result.status), c.fails) << c.what;
        EXPECT_EQ(result.error, kvDmDocumentOpenErrorFail) << c.what;
        EXPECT_FALSE(result.document) << c.what;
    }
}

// Both faces are opened; the storage, which comes second, is what the client is left with, and nothing leaks.
TEST(GetDocument2, OpensBothFacesOfAnObjectAndGivesTheSecond)
{
    ForeignPlan plan;
    {
        const auto application = newApplication();
        auto onStream = sample();
        DocumentBuilder onStorage;
        onStorage.summary(2, textValue("On a storage"));
        ForeignPair both(ForeignStream::over(onStream.build(), plan), ForeignStorage::over(onStorage.made(), plan));
        EXPECT_EQ(titleOf(open(*application, &both)), "On a storage");
        ForeignPair badStorage(ForeignStream::over(onStream.build(), plan), ForeignStorage::over(sample(3801).made(), plan));
        EXPECT_EQ(titleOf(open(*application, &badStorage)), "On a stream");
        ForeignPair badStream(ForeignStream::over(patternBytes(5000), plan), ForeignStorage::over(onStorage.made(), plan));
        const Result result = open(*application, &badStream);
        EXPECT_EQ(result.status, S_OK) << "the last word is that of the storage";
        EXPECT_EQ(titleOf(result), "On a storage");
    }
    EXPECT_EQ(plan.live, 0);
    EXPECT_EQ(DllCanUnloadNow(), S_OK);
}

TEST(GetDocument2, BearsRudeStreams)
{
    auto document = sample();
    const Bytes bytes = document.build();
    struct Case
    {
        const char* what;
        ULONG largestRead;
        bool tellsRead;
        bool tellsPosition;
        bool opens;
    };
    for (const Case& c : {Case{"one byte a read", 1, true, true, true}, Case{"odd pieces", 777, true, true, true},
                          Case{"reads that do not tell", 0xFFFFFFFF, false, true, true},
                          Case{"seeks that do not tell", 0xFFFFFFFF, true, false, true}, Case{"nothing told", 0xFFFFFFFF, false, false, false}}) {
        ForeignPlan plan;
        plan.largestRead = c.largestRead;
        plan.tellsRead = c.tellsRead;
        plan.tellsPosition = c.tellsPosition;
        ForeignPair pair(ForeignStream::over(bytes, plan), nullptr);
        const auto application = newApplication();
        EXPECT_EQ(titleOf(open(*application, &pair)), c.opens ? "On a stream" : "(none)") << c.what;
    }
}

// Fails the n-th call for every n: each outcome is clean, and no reference is lost or released twice.
TEST(GetDocument2, EndsCleanlyWhicheverCallFails)
{
    auto document = sample();
    document.root.stream(u"Blob__ZLB", zlbNode("packed"));
    const Bytes bytes = document.build();
    for (const bool asStorage : {false, true}) {
        for (const bool onwards : {false, true}) {
            bool failed = true;
            long n = 0;
            while (failed && ++n < 2000) {
                ForeignPlan plan;
                {
                    ForeignPair pair(asStorage ? nullptr : ForeignStream::over(bytes, plan),
                                     asStorage ? ForeignStorage::over(document.made(), plan) : nullptr);
                    plan.calls = 0;
                    plan.failAt = n;
                    plan.failsOnwards = onwards;
                    const auto application = newApplication();
                    const Result result = open(*application, &pair);
                    EXPECT_EQ(static_cast<bool>(result.document), result.error == kvDmDocumentOpenErrorNone);
                    EXPECT_TRUE(!result.document || result.status == S_OK);
                    (void)titleOf(result);
                    failed = plan.calls >= n;
                }
                EXPECT_EQ(plan.live, 0) << "call " << n;
            }
            EXPECT_GT(n, 5);
            EXPECT_LT(n, 2000);
        }
    }
    EXPECT_EQ(DllCanUnloadNow(), S_OK);
}

TEST(GetDocument2, LetsGoOfTheFirstStreamForTheSecondOne)
{
    ForeignPlan first;
    ForeignPlan second;
    auto document = sample();
    const Bytes light = patternBytes(100000);
    document.contents.stream(u"eModel", light);
    TemporaryFolder folder;
    const auto extract = [&](const Result& from) {
        KvDmLmvDataError error = static_cast<KvDmLmvDataError>(77);
        const HRESULT status = from.document->GetLumoviewData(OwnedBstr(fromUtf8(folder / "out")).get(), &error);
        return status == S_OK && error == kvDmLmvDataErrorNone;
    };
    auto application = newApplication();
    const auto one = ForeignStream::over(document.build(), first);
    const auto two = ForeignStream::over(document.build(), second);
    const Result early = open(*application, one.get());
    const Result late = open(*application, two.get());
    one->AddRef();
    EXPECT_EQ(one->Release(), 1u) << "nobody but the test holds the first stream";
    EXPECT_EQ(titleOf(early), "On a stream") << "what was read stays";
    EXPECT_FALSE(extract(early)) << "what was not is out of reach";
    EXPECT_TRUE(extract(late));

    application.reset(); // documents outlive the application that opened them
    EXPECT_TRUE(extract(late));
    EXPECT_EQ(readWholeFile(folder / "out"), light);
}

} // namespace
} // namespace kvdm::test
