// Save and SaveAs: what reaches the file, and that nothing else is touched.
#include "automation/automationTools.h"
#include "support/StorageTools.h"

#include <algorithm>
#include <csignal>

#include <sys/resource.h>

namespace kvdm::test {
namespace {

class Saving : public ::testing::Test
{
protected:
    void SetUp() override
    {
        DocumentBuilder builder(3500);
        builder.visible("Material", textValue("Steel")).linked("Weight", "12.5", "link").invisible("Hidden", numberValue(1));
        builder.links({u"C:\\one.txt", u"C:\\two.txt"}, {u"C:\\one.txt", u"C:\\two.txt"})
            .summary(2, textValue("Title"))
            .summary(4, textValue("Author"));
        builder.contents.stream(u"Unknown", "survives");
        builder.write(path);
    }
    static KvDmDocumentSaveError save(IKvDMDocument& document)
    {
        return valueFrom(document, &IKvDMDocument::Save, static_cast<KvDmDocumentSaveError>(77));
    }
    static KvDmDocumentSaveError saveAs(IKvDMDocument& document, const std::string& to)
    {
        KvDmDocumentSaveError error = static_cast<KvDmDocumentSaveError>(77);
        EXPECT_EQ(document.SaveAs(OwnedBstr(fromUtf8(to)).get(), &error), S_OK);
        return error;
    }
    static std::string material(IKvDMDocument& document)
    {
        KvDmCustomInfoType type = kvDmCustomInfoUnknown;
        OwnedBstr value;
        return document.GetCustomProperty(OwnedBstr(u"Material").get(), &type, value.put()) == S_OK ? toUtf8(value.view()) : "(none)";
    }
    static HRESULT setMaterial(IKvDMDocument& document, const char16_t* value)
    {
        return document.SetCustomProperty(OwnedBstr(u"Material").get(), OwnedBstr(value).get());
    }

    TemporaryFolder folder;
    std::string path = folder / "a.kvdprt";
    std::string other = folder / "b.kvdprt";
};

TEST_F(Saving, KeepsWhatWasChangedAndEverythingElse)
{
    {
        const auto document = mustOpen(path, false);
        EXPECT_EQ(setMaterial(*document, u"Brass"), S_OK);
        EXPECT_EQ(document->put_Title(OwnedBstr(u"New title").get()), S_OK);
        EXPECT_EQ(material(*mustOpen(path)), "Steel") << "a reader sees what is saved";
        EXPECT_EQ(save(*document), kvDmDocumentSaveErrorNone);
        EXPECT_EQ(save(*document), kvDmDocumentSaveErrorNone);
        EXPECT_EQ(document->CloseDoc(), S_OK);
        EXPECT_EQ(save(*document), kvDmDocumentSaveErrorNone) << "closed, it opens the file again";
    }
    const auto again = mustOpen(path);
    EXPECT_EQ(material(*again), "Brass");
    EXPECT_EQ(textFrom(*again, &IKvDMDocument::get_Title), "New title");
    EXPECT_EQ(textFrom(*again, &IKvDMDocument::get_Author), "Author");
    EXPECT_EQ(versionOf(*again), 3500);
    EXPECT_EQ(valueFrom(*again, &IKvDMDocument::GetLastUpdateStamp, LONG{0}), 7);
    EXPECT_EQ(valueFrom(*again, &IKvDMDocument2::GetInvisibleCustomPropertyCount, LONG{0}), 1);
    EXPECT_EQ(textsFrom(*again, &IKvDMDocument5::GetLinkedAttachments), (std::vector<std::string>{"a", "b"}));
}

// The links of the file as the next client finds them.
std::vector<std::string> linksIn(const std::string& path)
{
    const auto document = mustOpen(path);
    std::vector<std::string> links(static_cast<std::size_t>(valueFrom(*document, &IKvDMDocument::GetHyperLinksCount, LONG{0})));
    for (std::size_t i = 0; i < links.size(); ++i)
        links[i] = textFrom(*document, &IKvDMDocument::GetHyperLinkAt, static_cast<LONG>(i));
    return links;
}

TEST_F(Saving, WritesAChangedLinkOnceHoweverOftenTheyWereCounted)
{
    // Links that were changed before and not yet taken over: what is wanted is what counts.
    writeWholeFile(other, readWholeFile(corpus("properties/links-changed.kvdprt")));
    EXPECT_EQ(linksIn(other), (std::vector<std::string>{"C:\\a.txt", "same"}));
    for (const auto& [file, expected] : {std::pair{path, "C:\\one.txt"}, std::pair{other, "C:\\new a.txt"}}) {
        {
            const auto document = mustOpen(file, false);
            valueFrom(*document, &IKvDMDocument::GetHyperLinksCount, LONG{0});
            valueFrom(*document, &IKvDMDocument::GetHyperLinksCount, LONG{0});
            EXPECT_EQ(document->ModifyHyperLinkAt(1, OwnedBstr(u"first").get()), S_OK);
            EXPECT_EQ(document->ModifyHyperLinkAt(3, OwnedBstr(u"last").get()), S_OK);
            EXPECT_EQ(save(*document), kvDmDocumentSaveErrorNone);
            EXPECT_EQ(save(*document), kvDmDocumentSaveErrorNone);
        }
        EXPECT_EQ(linksIn(file), (std::vector<std::string>{expected, "last"}));
    }
}

// Nothing of a list or a stream that did not read whole is written back unless a client changed it.
TEST_F(Saving, LeavesLinksAloneThatItCannotWriteBackWhole)
{
    const std::u16string streams[] = {u"\u0005DocumentSummaryInformation", u"IKestrovaneInformation"};
    const auto find = [](const Bytes& bytes, std::u16string_view link) {
        const auto* units = reinterpret_cast<const std::uint8_t*>(link.data());
        return std::search(bytes.begin(), bytes.end(), units, units + 2 * link.size()) - bytes.begin();
    };
    for (const bool isListDamaged : {true, false}) {
        DocumentBuilder builder(3500);
        builder.links({u"C:\\one.txt", u"C:\\two.txt"}, {u"C:\\one.txt", u"C:\\new.txt"}).made();
        for (BuilderNode& node : builder.root.children) {
            if (isListDamaged && node.name == streams[0])
                node.bytes.at(static_cast<std::size_t>(find(node.bytes, u"C:\\new.txt")) - 8) = 77; // an item of no known kind
            if (!isListDamaged && node.name == streams[1])
                ++node.bytes.at(24); // one section more than the stream holds
        }
        builder.write(path);
        EXPECT_EQ(save(*mustOpen(path, false)), kvDmDocumentSaveErrorNone);
        const auto before = openStorageOf(readWholeFile(path)); // as a save leaves it that knows of no links
        for (const bool isChanged : {false, true}) {
            {
                const auto document = mustOpen(path, false);
                EXPECT_EQ(valueFrom(*document, &IKvDMDocument::GetHyperLinksCount, LONG{0}), 2);
                EXPECT_EQ(isChanged ? document->ModifyHyperLinkAt(0, OwnedBstr(u"changed").get()) : S_OK, S_OK);
                EXPECT_EQ(save(*document), kvDmDocumentSaveErrorNone);
            }
            const auto after = openStorageOf(readWholeFile(path));
            for (const std::u16string& stream : streams)
                EXPECT_EQ(readStream(*after, stream) == readStream(*before, stream), isListDamaged || !isChanged) << isListDamaged << isChanged;
        }
        EXPECT_EQ(linksIn(path).front(), isListDamaged ? "C:\\one.txt" : "changed");
    }
}

TEST_F(Saving, SaveAsTurnsAReaderIntoAWriterOfTheNewFile)
{
    const Bytes before = readWholeFile(path);
    const auto document = mustOpen(path);
    EXPECT_EQ(setMaterial(*document, u"Brass"), S_OK);
    EXPECT_EQ(save(*document), kvDmDocumentSaveErrorFail);
    EXPECT_EQ(saveAs(*document, other), kvDmDocumentSaveErrorNone);
    EXPECT_EQ(textFrom(*document, &IKvDMDocument::get_FullName), other);
    EXPECT_EQ(material(*mustOpen(other)), "Brass");
    EXPECT_EQ(setMaterial(*document, u"Glass"), S_OK);
    EXPECT_EQ(save(*document), kvDmDocumentSaveErrorNone);
    EXPECT_EQ(material(*mustOpen(other)), "Glass");
    EXPECT_EQ(versionOf(*mustOpen(other)), 3500);
    EXPECT_EQ(readWholeFile(path), before);
    KvDmLmvDataError error = kvDmLmvDataErrorNone;
    EXPECT_EQ(document->GetLumoviewData(OwnedBstr(fromUtf8(folder / "out")).get(), &error), S_OK);
    EXPECT_EQ(error, kvDmLmvDataErrorNoData) << "the storages came along";
}

TEST_F(Saving, ASaveAsThatFillsTheDiskLeavesTheOldFileWhole)
{
    DocumentBuilder large(3500);
    large.visible("Material", textValue("Steel")).contents.stream(u"Large", patternBytes(300000));
    large.write(path);
    const Bytes before = readWholeFile(path);
    const auto document = mustOpen(path);
    EXPECT_EQ(setMaterial(*document, u"Brass"), S_OK);
    rlimit usual{};
    getrlimit(RLIMIT_FSIZE, &usual);
    rlimit full{100000, usual.rlim_max};
    const auto atLimit = std::signal(SIGXFSZ, SIG_IGN); // a write fails instead
    setrlimit(RLIMIT_FSIZE, &full);
    const KvDmDocumentSaveError error = saveAs(*document, other);
    setrlimit(RLIMIT_FSIZE, &usual);
    std::signal(SIGXFSZ, atLimit);
    EXPECT_EQ(error, kvDmDocumentSaveErrorFail);
    EXPECT_EQ(readWholeFile(path), before);
    EXPECT_EQ(saveAs(*document, folder / "c.kvdprt"), kvDmDocumentSaveErrorNone) << "the document is still whole";
    EXPECT_EQ(material(*mustOpen(folder / "c.kvdprt")), "Brass");
    EXPECT_EQ(readTree(*openStorageOf(readWholeFile(folder / "c.kvdprt"))).at(u"Contents/Large"), patternBytes(300000));
}

// Whatever SaveAs cannot do, it neither loses the document nor empties the file of that name.
TEST_F(Saving, AFailedSaveAsLeavesEveryFileAsItIs)
{
    DocumentBuilder(2000).write(other);
    writeWholeFile(folder / "text.kvdprt", patternBytes(100));
    const Bytes mine = readWholeFile(path);
    const Bytes others = readWholeFile(other);
    const auto expectUntouched = [&](const char* when) {
        EXPECT_EQ(readWholeFile(path), mine) << when;
        EXPECT_EQ(readWholeFile(other), others) << when;
    };
    for (const bool readOnly : {false, true}) {
        const auto document = mustOpen(path, readOnly);
        EXPECT_EQ(setMaterial(*document, u"Brass"), S_OK);
        EXPECT_EQ(saveAs(*document, path), kvDmDocumentSaveErrorFail) << "onto itself";
        expectUntouched("onto itself");
        EXPECT_EQ(document->CloseDoc(), S_OK);
        EXPECT_EQ(saveAs(*document, path), kvDmDocumentSaveErrorFail) << "onto itself, closed";
        expectUntouched("onto itself, closed");
        EXPECT_EQ(saveAs(*document, folder / "no/folder/c.kvdprt"), kvDmDocumentSaveErrorFail);
        const auto writer = mustOpen(other, false);
        EXPECT_EQ(saveAs(*document, other), kvDmDocumentSaveErrorFail) << "open for writing elsewhere";
        expectUntouched("open elsewhere");
        EXPECT_EQ(textFrom(*document, &IKvDMDocument::get_FullName), path);
        EXPECT_EQ(material(*document), "Brass");
        EXPECT_EQ(versionOf(*document), 3500);
    }
    const auto text = mustOpen(folder / "text.kvdprt");
    saveAs(*text, other);
    expectUntouched("from what is no document");
}

} // namespace
} // namespace kvdm::test
