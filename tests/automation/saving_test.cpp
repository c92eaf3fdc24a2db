// Save and SaveAs: what reaches the file, and that nothing else is touched.
#include "automation/automationTools.h"
#include "support/StorageTools.h"

#include <algorithm>

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

TEST_F(Saving, WritesAChangedLinkOnceHoweverOftenTheyWereCounted)
{
    {
        const auto document = mustOpen(path, false);
        valueFrom(*document, &IKvDMDocument::GetHyperLinksCount, LONG{0});
        valueFrom(*document, &IKvDMDocument::GetHyperLinksCount, LONG{0});
        EXPECT_EQ(document->ModifyHyperLinkAt(1, OwnedBstr(u"first").get()), S_OK);
        EXPECT_EQ(document->ModifyHyperLinkAt(3, OwnedBstr(u"last").get()), S_OK);
        EXPECT_EQ(save(*document), kvDmDocumentSaveErrorNone);
    }
    const auto again = mustOpen(path);
    EXPECT_EQ(valueFrom(*again, &IKvDMDocument::GetHyperLinksCount, LONG{0}), 2);
    const auto holds = [&](const std::u16string& stream, std::u16string_view link) {
        const Bytes bytes = readStream(*openStorageOf(readWholeFile(path)), stream).value_or(Bytes());
        const auto* units = reinterpret_cast<const std::uint8_t*>(link.data());
        return std::search(bytes.begin(), bytes.end(), units, units + 2 * link.size()) != bytes.end();
    };
    const std::u16string wanted = u"\u0005DocumentSummaryInformation";
    const std::u16string saved = u"IKestrovaneInformation";
    EXPECT_TRUE(holds(wanted, u"C:\\one.txt") && holds(wanted, u"last"));
    EXPECT_FALSE(holds(wanted, u"first") || holds(wanted, u"C:\\two.txt"));
    EXPECT_TRUE(holds(saved, u"C:\\one.txt") && holds(saved, u"C:\\two.txt")) << "the list as it was saved last stays beside it";
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
