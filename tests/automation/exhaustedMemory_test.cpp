// Opening and reading with the n-th allocation failing, for every n: nothing thrown leaves, nothing leaks, and the next
// attempt finds the library as it was.
#include "automation/automationTools.h"
#include "support/ForeignObjects.h"
#include "support/RefusedMemory.h"

namespace kvdm::test {
namespace {

// Fails the n-th allocation of the calls for n = 0, 1, ... until they get through without one; returns how many there are.
template <class Calls> long failEveryAllocation(Calls&& calls)
{
    for (long n = 0; n < 100000; ++n) {
        allocationsLeft = n;
        calls();
        const bool failed = allocationsLeft.exchange(-1) < 0;
        EXPECT_EQ(DllCanUnloadNow(), S_OK) << "allocation " << n;
        if (!failed)
            return n;
    }
    return -1;
}

// Without the help of the test framework, which allocates too.
ComPtr<IKvDMApplication2> bareApplication()
{
    ComPtr<IKvDMClassFactory> factory;
    ComPtr<IKvDMApplication> application;
    ComPtr<IKvDMApplication2> result;
    if (DllGetClassObject(CLSID_KvDMClassFactory, IID_IKvDMClassFactory, factory.putVoid()) == S_OK &&
        factory->GetApplication(application.put()) == S_OK)
        application->QueryInterface(IID_IKvDMApplication2, result.putVoid());
    return result;
}

void readEverything(IKvDMDocument& opened)
{
    IKvDMDocument12* found = nullptr;
    if (opened.QueryInterface(IID_IKvDMDocument12, reinterpret_cast<void**>(&found)) != S_OK)
        return;
    const auto document = ComPtr<IKvDMDocument12>::adopt(found);
    LONG number = 0;
    VARIANT_BOOL flag = 0;
    BSTR text = nullptr;
    VARIANT variants[4];
    KvDmCustomInfoType type = kvDmCustomInfoUnknown;
    for (VARIANT& variant : variants)
        VariantInit(&variant);
    const auto drop = [&] {
        for (VARIANT& variant : variants)
            VariantClear(&variant);
        SysFreeString(text);
        text = nullptr;
    };
    document->GetVersion(&number);
    document->GetLastUpdateStamp(&number);
    document->IsDetachedDrawing(&flag);
    document->GetHyperLinksCount(&number);
    document->GetSheetNames(&variants[0]);
    document->get_Title(&text);
    drop();
    document->GetAllCustomPropertyNamesAndValues(&variants[0], &variants[1], &variants[2], &variants[3]);
    document->GetCustomProperty(nullptr, &type, &text);
    drop();
    document->GetLinkedAttachments(&variants[0]);
    document->get_CreationDate(&text);
    drop();
    IKvDMConfigurationMgr* manager = nullptr;
    IKvDMConfiguration* configuration = nullptr;
    if (document->get_ConfigurationManager(&manager) == S_OK) {
        BSTR name = SysAllocString(u"Default");
        if (manager->GetConfigurationByName(name, &configuration) == S_OK) {
            configuration->get_Name(&text);
            drop();
            configuration->Release();
        }
        SysFreeString(name);
        manager->Release();
    }
    document->CloseDoc();
    document->GetVersion(&number);
}

TEST(ExhaustedMemory, EndsNoClientThatOpensAndReadsAFile)
{
    TemporaryFolder folder;
    DocumentBuilder builder;
    builder.visible("Material", textValue("Steel")).links({u"C:\\one.txt"}, {u"C:\\one.txt"}).summary(2, textValue("Title"));
    builder.summary(12, le32(64) + le(0x01DA000000000000, 8)).invisible("KV-All Sheet Names", textValue("One@Two@"));
    builder.withHeader = false;
    const Bytes header = headerStream(builder.header);
    builder.root.stream(u"Header2__ZLB", zlbNode(std::string(header.begin(), header.end()))); // read through a worker thread
    builder.write(folder / "a.kvdprt");
    const OwnedBstr path(fromUtf8(folder / "a.kvdprt"));
    const Bytes bytes = builder.build();

    readEverything(*mustOpen(folder / "a.kvdprt")); // what the process makes once is made
    const long byPath = failEveryAllocation([&] {
        KvDmDocumentOpenError error = kvDmDocumentOpenErrorNone;
        IKvDMDocument* document = nullptr;
        const auto application = bareApplication();
        if (!application)
            return;
        const HRESULT status = application->GetDocument(path.get(), kvDmDocumentUnknown, VARIANT_TRUE, &error, &document);
        EXPECT_EQ(document != nullptr, status == S_OK && error == kvDmDocumentOpenErrorNone);
        if (document) {
            readEverything(*document);
            document->Release();
        }
    });
    EXPECT_GT(byPath, 100);

    ForeignPlan plan;
    const auto stream = ForeignStream::over(bytes, plan);
    const long byStream = failEveryAllocation([&] {
        KvDmDocumentOpenError error = kvDmDocumentOpenErrorNone;
        IKvDMDocument* document = nullptr;
        const auto application = bareApplication();
        if (!application)
            return;
        application->GetDocument2(stream.get(), &error, &document);
        EXPECT_EQ(document != nullptr, error == kvDmDocumentOpenErrorNone);
        if (document) {
            readEverything(*document);
            document->Release();
        }
    });
    EXPECT_GT(byStream, 100);
    EXPECT_EQ(textFrom(*mustOpen(folder / "a.kvdprt"), &IKvDMDocument::get_Title), "Title");
}

// A save is all or nothing: whichever allocation fails, the file is the old one or, when Save says so, the new one.
TEST(ExhaustedMemory, LeavesTheOldFileOrTheNewOneAfterASave)
{
    TemporaryFolder folder;
    DocumentBuilder builder;
    builder.visible("Material", textValue("Steel")).summary(2, textValue("Title")).ofConfiguration(7, {{"Material", textValue("Steel")}});
    builder.withHeader = builder.withConfigurations = false;
    const auto packed = [](const Bytes& bytes) { return zlbNode(std::string(bytes.begin(), bytes.end())); };
    builder.root.stream(u"Header2__ZLB", packed(headerStream(builder.header)));
    builder.contents.stream(u"CMgrHdr2__ZLB", packed(configMgrHeaderStream(3800)));
    const OwnedBstr path(fromUtf8(folder / "a.kvdprt"));
    const OwnedBstr material(u"Material");
    const OwnedBstr brass(u"Brass");
    const OwnedBstr second(u"Second");
    const OwnedBstr third(u"Third");
    const auto find = [](IKvDMDocument& document, const OwnedBstr& name) {
        ComPtr<IKvDMConfigurationMgr> manager;
        ComPtr<IKvDMConfiguration> configuration;
        ComPtr<IKvDMConfiguration7> found;
        if (document.get_ConfigurationManager(manager.put()) == S_OK && manager->GetConfigurationByName(name.get(), configuration.put()) == S_OK)
            configuration->QueryInterface(IID_IKvDMConfiguration7, found.putVoid());
        return found;
    };
    const auto materialIn = [&](auto& holder) {
        KvDmCustomInfoType type = kvDmCustomInfoUnknown;
        OwnedBstr value;
        EXPECT_EQ(holder.GetCustomProperty(material.get(), &type, value.put()), S_OK);
        return toUtf8(value.view());
    };
    bool saved = false;
    const long allocations = failEveryAllocation([&] {
        const long left = allocationsLeft.exchange(-1);
        builder.write(folder / "a.kvdprt");
        allocationsLeft = left;
        KvDmDocumentOpenError error = kvDmDocumentOpenErrorNone;
        KvDmDocumentSaveError outcome = kvDmDocumentSaveErrorFail;
        ComPtr<IKvDMDocument> document;
        bool isSet = false;
        bool isRenamed = false;
        saved = false;
        if (const auto application = bareApplication())
            application->GetDocument(path.get(), kvDmDocumentUnknown, VARIANT_FALSE, &error, document.put());
        if (document) {
            if (const auto configuration = find(*document, second)) {
                isSet = configuration->SetCustomProperty(material.get(), brass.get()) == S_OK;
                isRenamed = configuration->put_Name2(third.get()) == S_OK;
            }
            find(*document, third); // it retires again, and keeps what was changed
        }
        const bool changed = document && document->SetCustomProperty(material.get(), brass.get()) == S_OK;
        if (changed && document->Save(&outcome) == S_OK)
            saved = outcome == kvDmDocumentSaveErrorNone;
        document.reset();
        const long rest = allocationsLeft.exchange(-1);
        const auto again = mustOpen(folder / "a.kvdprt");
        EXPECT_EQ(materialIn(*again), saved ? "Brass" : "Steel");
        const auto configuration = find(*again, saved && isRenamed ? third : second);
        EXPECT_TRUE(configuration) << saved << isRenamed;
        EXPECT_EQ(configuration ? materialIn(*configuration) : "", saved && isSet ? "Brass" : "Steel");
        EXPECT_EQ(textFrom(*again, &IKvDMDocument::get_Title), "Title");
        EXPECT_EQ(valueFrom(*again, &IKvDMDocument::GetLastUpdateStamp, LONG{0}), 7);
        allocationsLeft = rest;
    });
    EXPECT_GT(allocations, 100);
    EXPECT_TRUE(saved) << "the last one goes through";
}

} // namespace
} // namespace kvdm::test
