// GetDocument: what opens, what each refusal looks like, and what a document answers whose file is none.
#include "automation/automationTools.h"

#include <filesystem>

namespace kvdm::test {
namespace {

constexpr KvDmDocumentOpenError none = kvDmDocumentOpenErrorNone;
constexpr KvDmDocumentOpenError nonKV = kvDmDocumentOpenErrorNonKV;
constexpr KvDmDocumentOpenError notFound = kvDmDocumentOpenErrorFileNotFound;

TEST(GetDocument, TellsWhyAFileIsRefused)
{
    TemporaryFolder folder;
    const Bytes document = DocumentBuilder().build();
    struct Case
    {
        const char* name;
        KvDmDocumentType type;
        KvDmDocumentOpenError error;
    };
    const Case cases[] = {
        {"a.kvdprt", kvDmDocumentUnknown, none},
        {"a.kvdasm", kvDmDocumentUnknown, none},
        {"a.kvddrw", kvDmDocumentUnknown, none},
        {"a.prt", kvDmDocumentUnknown, none},
        {"a.asm", kvDmDocumentUnknown, none},
        {"a.drw", kvDmDocumentUnknown, none},
        {"a.prtdot", kvDmDocumentUnknown, none},
        {"a.asmdot", kvDmDocumentUnknown, none},
        {"a.drwdot", kvDmDocumentUnknown, none},
        {"a.kvdlfp", kvDmDocumentUnknown, none},
        {"A.KVDPRT", kvDmDocumentUnknown, none},
        {"a.KvdAsm", kvDmDocumentUnknown, none},
        {"a.b.kvdprt", kvDmDocumentUnknown, none},
        {".kvdprt", kvDmDocumentUnknown, none},
        {"a.txt", kvDmDocumentUnknown, nonKV},
        {"a", kvDmDocumentUnknown, nonKV},
        {"a.kvdprt.bak", kvDmDocumentUnknown, nonKV},
        {"a.kvdprt ", kvDmDocumentUnknown, nonKV},
        {"kvdprt", kvDmDocumentUnknown, nonKV},
        {"a.txt", kvDmDocumentPart, none},
        {"a", kvDmDocumentAssembly, none},
        {"a.kvdasm", kvDmDocumentDrawing, none}, // the type is compared with nothing
    };
    for (const Case& c : cases) {
        writeWholeFile(folder / c.name, document);
        const Opened opened = openDocument(folder / c.name, c.type);
        EXPECT_EQ(opened.status, S_OK) << c.name;
        EXPECT_EQ(opened.error, c.error) << c.name;
        EXPECT_EQ(static_cast<bool>(opened.document), c.error == none) << c.name;
        if (opened.document) {
            EXPECT_EQ(textFrom(*opened.document, &IKvDMDocument::get_FullName), folder / c.name);
        }
    }
    for (const char* missing : {"missing.kvdprt", "missing.txt", "no/such/folder.kvdprt"}) // existence is tested first
        EXPECT_EQ(openDocument(folder / missing).error, notFound) << missing;
    EXPECT_EQ(openDocument("", kvDmDocumentPart).error, notFound);
    EXPECT_EQ(openDocument(folder / std::string("a.kvdprt\0.txt", 13)).error, notFound) << "no name holds a NUL";
}

struct Unreadable
{
    const char* what;
    Bytes bytes;
};

// A file that holds no readable document opens without an error; its operations fail one by one.
TEST(GetDocument, HandsOutDocumentsWithoutContent)
{
    Bytes tooNew = DocumentBuilder(3801).visible("Material", textValue("Steel")).build();
    const Unreadable files[] = {{"text", patternBytes(3000)}, {"empty", {}}, {"version 3801", std::move(tooNew)}};
    for (const auto& [what, bytes] : files) {
        SCOPED_TRACE(what);
        TemporaryFolder folder;
        writeWholeFile(folder / "a.kvdprt", bytes);
        for (const bool readOnly : {true, false}) {
            const auto document = mustOpen(folder / "a.kvdprt", readOnly);
            ASSERT_TRUE(document);
            EXPECT_EQ(textFrom(*document, &IKvDMDocument::get_FullName), folder / "a.kvdprt");
            EXPECT_EQ(versionOf(*document), -99) << "left alone";
            EXPECT_EQ(valueFrom(*document, &IKvDMDocument::GetLastUpdateStamp, LONG{5}), 0);
            EXPECT_EQ(textFrom(*document, &IKvDMDocument::get_Title), "");
            EXPECT_EQ(textFrom(*document, &IKvDMDocument::get_CreationDate), "");
            EXPECT_EQ(document->put_Title(nullptr), E_FAIL);
            EXPECT_EQ(valueFrom(*document, &IKvDMDocument::GetCustomPropertyCount, LONG{5}), 0);
            EXPECT_TRUE(textsFrom(*document, &IKvDMDocument::GetCustomPropertyNames).empty());
            EXPECT_EQ(valueFrom(*document, &IKvDMDocument::GetHyperLinksCount, LONG{5}), 0);
            EXPECT_EQ(valueFrom(*document, &IKvDMDocument::IsDetachedDrawing, VARIANT_TRUE, E_FAIL), VARIANT_FALSE);
            EXPECT_EQ(valueFrom(*document, &IKvDMDocument7::IsSmartComponentDocument, VARIANT_TRUE, E_FAIL), VARIANT_FALSE);
            EXPECT_EQ(valueFrom(*document, &IKvDMDocument::get_ToolboxPart, kvDmToolboxCopiedPart), kvDmNotAToolboxPart);
            EXPECT_EQ(valueFrom(*document, &IKvDMDocument4::GetSheetCount, LONG{5}), -1);
            EXPECT_EQ(valueFrom(*document, &IKvDMDocument8::GetComponentCount, LONG{5}), -1);
            EXPECT_TRUE(textsFrom(*document, &IKvDMDocument6::GetSheetNames).empty());
            EXPECT_TRUE(textsFrom(*document, &IKvDMDocument5::GetLinkedAttachments).empty());
            EXPECT_EQ(valueFrom(*document, &IKvDMDocument::Save, kvDmDocumentSaveErrorNone), kvDmDocumentSaveErrorFail);
            EXPECT_EQ(document->CloseDoc(), S_OK);
        }
        EXPECT_EQ(readWholeFile(folder / "a.kvdprt"), bytes) << "nothing is written to what is no document";
    }
}

// The storage layer's failure is the failure of GetDocument; nothing is handed out and nothing stays behind.
TEST(GetDocument, FailsWithTheStatusOfTheStorage)
{
    TemporaryFolder folder;
    std::filesystem::create_directory(folder / "folder.kvdprt");
    Bytes damaged = DocumentBuilder().build();
    damaged.resize(700); // the signature stands, the sectors are gone
    writeWholeFile(folder / "cut.kvdprt", damaged);
    for (const bool readOnly : {true, false}) {
        for (const char* name : {"folder.kvdprt", "cut.kvdprt"}) {
            const Opened opened = openDocument(folder / name, kvDmDocumentUnknown, readOnly);
            EXPECT_TRUE(FAILED(opened.status)) << name;
            EXPECT_FALSE(opened.document) << name;
            EXPECT_EQ(DllCanUnloadNow(), S_OK) << name;
        }
    }
    // A second writer is refused; readers are let in beside a writer and beside each other.
    DocumentBuilder().write(folder / "a.kvdprt");
    const auto writer = mustOpen(folder / "a.kvdprt", false);
    const Opened second = openDocument(folder / "a.kvdprt", kvDmDocumentUnknown, false);
    EXPECT_TRUE(second.status == STG_E_SHAREVIOLATION || second.status == STG_E_LOCKVIOLATION) << std::hex << second.status;
    EXPECT_FALSE(second.document);
    const auto reader = mustOpen(folder / "a.kvdprt");
    const auto other = mustOpen(folder / "a.kvdprt");
    EXPECT_EQ(versionOf(*reader), 3800);
    EXPECT_EQ(versionOf(*other), 3800);
    EXPECT_EQ(writer->CloseDoc(), S_OK);
    EXPECT_EQ(openDocument(folder / "a.kvdprt", kvDmDocumentUnknown, false).status, S_OK) << "the file is free again";
}

TEST(GetDocument, ReadsTheVersionFromTheMarker)
{
    TemporaryFolder folder;
    for (const int version : {37, 2069, 2070, 3800}) {
        DocumentBuilder(version).write(folder / "a.kvdprt");
        EXPECT_EQ(versionOf(*mustOpen(folder / "a.kvdprt")), version);
    }
    DocumentBuilder endless;
    endless.root.children[2].name = u"_MO_VERSION_99999999999";
    endless.write(folder / "a.kvdprt");
    EXPECT_EQ(versionOf(*mustOpen(folder / "a.kvdprt")), -99) << "a number beyond all versions is above the latest";
}

TEST(CloseDoc, LeavesADocumentThatOpensItsFileAgain)
{
    TemporaryFolder folder;
    const std::string path = folder / "a.kvdprt";
    DocumentBuilder().visible("Material", textValue("Steel")).write(path);
    const auto document = mustOpen(path);
    EXPECT_EQ(document->CloseDoc(), S_OK);
    EXPECT_EQ(document->CloseDoc(), S_OK);
    EXPECT_EQ(versionOf(*document), 3800);
    const auto material = [&](IKvDMDocument& from) {
        KvDmCustomInfoType type = kvDmCustomInfoUnknown;
        OwnedBstr value;
        return FAILED(from.GetCustomProperty(OwnedBstr(u"Material").get(), &type, value.put())) ? "(none)" : toUtf8(value.view());
    };
    EXPECT_EQ(material(*document), "Steel");

    // What was read is kept; what was not is read from the file of that name as it is now.
    EXPECT_EQ(document->CloseDoc(), S_OK);
    DocumentBuilder(2995).visible("Material", textValue("Brass")).summary(2, textValue("Second")).write(path);
    EXPECT_EQ(material(*document), "Steel");
    EXPECT_EQ(textFrom(*document, &IKvDMDocument::get_Title), "Second");
    EXPECT_EQ(versionOf(*document), 2995);

    // A file that has gone meanwhile fails the call, not the client; caches serve on.
    EXPECT_EQ(document->CloseDoc(), S_OK);
    std::filesystem::remove(path);
    EXPECT_TRUE(FAILED(document->GetVersion(std::make_unique<LONG>().get())));
    EXPECT_EQ(material(*document), "Steel");
    EXPECT_EQ(document->CloseDoc(), S_OK);
}

// A header that did not read is not read again, even when the file was repaired meanwhile; other pieces are.
TEST(LazyReads, AreNotRepeatedAfterAFailure)
{
    TemporaryFolder folder;
    const std::string path = folder / "a.kvdprt";
    DocumentBuilder broken;
    broken.withHeader = false;
    broken.root.stream(u"Header2", "no archive at all");
    broken.write(path);
    const auto document = mustOpen(path);
    EXPECT_EQ(valueFrom(*document, &IKvDMDocument::GetLastUpdateStamp, LONG{5}), 0);
    EXPECT_EQ(document->CloseDoc(), S_OK);
    DocumentBuilder().summary(2, textValue("Mended")).write(path);
    EXPECT_EQ(valueFrom(*document, &IKvDMDocument::GetLastUpdateStamp, LONG{5}), 0);
    EXPECT_EQ(textFrom(*document, &IKvDMDocument::get_Title), "Mended");
    EXPECT_EQ(valueFrom(*mustOpen(path), &IKvDMDocument::GetLastUpdateStamp, LONG{5}), 7);
}

// The core lives as long as one of its wrappers, and no longer.
TEST(Lifetime, OneWrapperADocumentAndTheCoreGoesWithTheLast)
{
    TemporaryFolder folder;
    DocumentBuilder().write(folder / "a.kvdprt");
    auto document = mustOpen(folder / "a.kvdprt", false);
    ComPtr<IKvDMConfigurationMgr> manager;
    ComPtr<IKvDMConfigurationMgr> again;
    ASSERT_EQ(document->get_ConfigurationManager(manager.put()), S_OK);
    ASSERT_EQ(document->get_ConfigurationManager(again.put()), S_OK);
    EXPECT_EQ(manager.get(), again.get());
    again.reset();
    ComPtr<IKvDMConfiguration> configuration;
    ASSERT_EQ(manager->GetConfigurationByName(OwnedBstr(u"Second").get(), configuration.put()), S_OK);
    document.reset();
    manager.reset();
    EXPECT_NE(openDocument(folder / "a.kvdprt", kvDmDocumentUnknown, false).status, S_OK) << "the configuration keeps the file open";
    ComPtr<IKvDMDocument> back;
    ASSERT_EQ(configuration->get_Document(back.put()), S_OK);
    configuration.reset();
    EXPECT_EQ(versionOf(*back), 3800);
    back.reset();
    EXPECT_EQ(DllCanUnloadNow(), S_OK);
    EXPECT_EQ(openDocument(folder / "a.kvdprt", kvDmDocumentUnknown, false).status, S_OK);
}

} // namespace
} // namespace kvdm::test
