// What a document answers from its header and properties, and the streams that it writes to files.
#include "automation/automationTools.h"

#include <filesystem>

namespace kvdm::test {
namespace {

class Document : public ::testing::Test
{
protected:
    ComPtr<IKvDMDocument12> reopen(DocumentBuilder& builder, bool readOnly = true)
    {
        builder.write(path);
        return mustOpen(path, readOnly);
    }

    TemporaryFolder folder;
    std::string path = folder / "a.kvddrw";
};

TEST_F(Document, AnswersHeaderQuestionsFromTheVersionThatBroughtThem)
{
    struct Case
    {
        int version;
        std::uint32_t detachedFlag;
        std::uint32_t modelFlags;
        HRESULT detachedStatus;
        VARIANT_BOOL detached;
        HRESULT smartStatus;
        VARIANT_BOOL smart;
    };
    for (const Case& c : {Case{1280, 1, 2, E_FAIL, 0, E_FAIL, 0}, Case{1281, 1, 2, S_OK, -1, E_FAIL, 0}, Case{2849, 0, 2, S_OK, 0, E_FAIL, 0},
                          Case{2850, 2, 2, S_OK, 0, S_OK, -1}, Case{3800, 1, 0xFFFFFFFD, S_OK, -1, S_OK, 0}}) {
        DocumentBuilder builder(c.version);
        builder.header.detachedFlag = c.detachedFlag;
        builder.header.modelFlags = c.modelFlags;
        const auto document = reopen(builder);
        EXPECT_EQ(valueFrom(*document, &IKvDMDocument::IsDetachedDrawing, VARIANT_BOOL{5}, c.detachedStatus), c.detached) << c.version;
        EXPECT_EQ(valueFrom(*document, &IKvDMDocument7::IsSmartComponentDocument, VARIANT_BOOL{5}, c.smartStatus), c.smart) << c.version;
    }
    for (const int version : {383, 3265}) { // versions whose headers cannot be read
        DocumentBuilder builder(version);
        const auto document = reopen(builder);
        EXPECT_EQ(versionOf(*document), version);
        EXPECT_EQ(valueFrom(*document, &IKvDMDocument::GetLastUpdateStamp, LONG{5}), 0);
        EXPECT_EQ(valueFrom(*document, &IKvDMDocument::IsDetachedDrawing, VARIANT_BOOL{5}, E_FAIL), VARIANT_FALSE);
    }
}

TEST_F(Document, ListsLinkedAttachmentsInTheirOrder)
{
    DocumentBuilder builder;
    builder.header.attachments = {u"C:\\z.pdf", u"", u"C:\\a.pdf"};
    EXPECT_EQ(textsFrom(*reopen(builder), &IKvDMDocument5::GetLinkedAttachments), (std::vector<std::string>{"C:\\z.pdf", "", "C:\\a.pdf"}));
    DocumentBuilder without;
    without.header.attachments.clear();
    OwnedVariant attachments;
    EXPECT_EQ(reopen(without)->GetLinkedAttachments(attachments.put()), S_OK);
    EXPECT_EQ(attachments.get().vt, VT_EMPTY);
}

TEST_F(Document, CountsComponentsOfOlderAssembliesFromTheHeader)
{
    struct Case
    {
        int version;
        const char* name;
        LONG count;
    };
    for (const Case& c : {Case{2957, "a.kvdasm", 2957}, Case{3799, "a.ASMDOT", 2957}, Case{2956, "a.asm", 0}, Case{2957, "a.kvdprt", -1}}) {
        DocumentBuilder(c.version).write(folder / c.name);
        EXPECT_EQ(valueFrom(*mustOpen(folder / c.name), &IKvDMDocument8::GetComponentCount, LONG{5}), c.count) << c.name;
    }
}

TEST_F(Document, ReadsToolboxPartAsADecimalNumber)
{
    const std::pair<const char*, LONG> cases[] = {{"2", 2}, {" 1", 1}, {"+1x", 1}, {"-3", -3},
                                                  {"x", 0}, {"", 0},   {"+-1", 0}, {"99999999999", 2147483647}};
    for (const auto& [text, expected] : cases) {
        DocumentBuilder builder;
        builder.invisible("IsToolboxPart", textValue(text));
        EXPECT_EQ(static_cast<LONG>(valueFrom(*reopen(builder), &IKvDMDocument::get_ToolboxPart, kvDmToolboxStandardPart)), expected) << text;
    }
    DocumentBuilder without;
    without.visible("IsToolboxPart", numberValue(1)); // the invisible one counts
    const auto document = reopen(without);
    EXPECT_EQ(valueFrom(*document, &IKvDMDocument::get_ToolboxPart, kvDmToolboxStandardPart), kvDmNotAToolboxPart);
    EXPECT_EQ(document->put_ToolboxPart(kvDmToolboxCopiedPart), S_OK);
    EXPECT_EQ(valueFrom(*document, &IKvDMDocument::get_ToolboxPart, kvDmNotAToolboxPart), kvDmToolboxCopiedPart);
    KvDmCustomInfoType type = kvDmCustomInfoUnknown;
    OwnedBstr value;
    EXPECT_EQ(document->GetInvisibleCustomProperty(OwnedBstr(u"IsToolboxPart").get(), &type, value.put()), S_OK);
    EXPECT_EQ(type, kvDmCustomInfoNumber);
    EXPECT_EQ(value.view(), u"2");
}

TEST_F(Document, SplitsSheetNamesAtTheirEndMarks)
{
    struct Case
    {
        const char* stored; // null: no property
        std::vector<std::string> names;
        VARTYPE type;
    };
    for (const Case& c :
         {Case{"Sheet1@Sheet2@", {"Sheet1", "Sheet2"}, VT_ARRAY | VT_BSTR}, Case{"One@Lost", {"One"}, VT_ARRAY | VT_BSTR},
          Case{" \tA b \r\n@ @@", {"A b", "", ""}, VT_ARRAY | VT_BSTR}, Case{"Lost", {}, VT_ARRAY | VT_BSTR}, Case{nullptr, {}, VT_EMPTY}}) {
        DocumentBuilder builder;
        if (c.stored)
            builder.invisible("KV-All Sheet Names", textValue(c.stored));
        OwnedVariant names;
        EXPECT_EQ(reopen(builder)->GetSheetNames(names.put()), S_OK);
        EXPECT_EQ(names.get().vt, c.type);
        EXPECT_EQ(textsIn(names.get()), c.names) << (c.stored ? c.stored : "(none)");
    }
    DocumentBuilder builder;
    builder.invisible("KV-Total Sheets", numberValue(3)).invisible("KV-Sheet Name", textValue("Second"));
    const auto document = reopen(builder);
    EXPECT_EQ(valueFrom(*document, &IKvDMDocument4::GetSheetCount, LONG{5}), 3);
    EXPECT_EQ(textFrom(*document, &IKvDMDocument4::GetActiveSheetName), "Second");
    DocumentBuilder without;
    without.invisible("KV-Total Sheets", textValue(""));
    EXPECT_EQ(valueFrom(*reopen(without), &IKvDMDocument4::GetSheetCount, LONG{5}), -1) << "an empty figure is none";
}

TEST_F(Document, CountsHyperlinksAgainAtEachCall)
{
    DocumentBuilder builder;
    builder.links({u"C:\\one.txt", u"http://two"}, {u"C:\\changed.txt", u"http://two"});
    const auto document = reopen(builder);
    OwnedBstr link;
    const auto at = [&](LONG index) { return textFrom(*document, &IKvDMDocument::GetHyperLinkAt, index); };
    BSTR untouched = OwnedBstr(u"x").get();
    BSTR out = untouched;
    EXPECT_EQ(document->GetHyperLinkAt(0, &out), E_FAIL) << "nothing was counted yet";
    EXPECT_EQ(out, untouched);
    EXPECT_EQ(document->GetHyperLinkAt(-1, &out), E_INVALIDARG);
    EXPECT_EQ(document->ModifyHyperLinkAt(-1, nullptr), E_INVALIDARG);
    EXPECT_EQ(document->ModifyHyperLinkAt(0, nullptr), E_FAIL);
    for (const LONG expected : {2, 4, 6})
        EXPECT_EQ(valueFrom(*document, &IKvDMDocument::GetHyperLinksCount, LONG{99}), expected);
    EXPECT_EQ(at(0), "C:\\one.txt") << "as saved, not as wanted";
    EXPECT_EQ(at(1), "http://two");
    EXPECT_EQ(at(2), "C:\\one.txt");
    EXPECT_EQ(at(5), "http://two");
    EXPECT_EQ(at(6), "(failed)");
    EXPECT_EQ(document->ModifyHyperLinkAt(5, OwnedBstr(u"new").get()), S_OK);
    EXPECT_EQ(document->ModifyHyperLinkAt(6, OwnedBstr(u"new").get()), E_FAIL);
    EXPECT_EQ(at(5), "http://two") << "changes go to the wanted list";
}

TEST_F(Document, HasOneMethodForEachSummaryField)
{
    using D = IKvDMDocument;
    struct Field
    {
        std::uint32_t id;
        HRESULT (D::*get)(BSTR*);
        HRESULT (D::*put)(BSTR); // null where only a save sets it
    };
    const Field fields[] = {{2, &D::get_Title, &D::put_Title},       {3, &D::get_Subject, &D::put_Subject},   {4, &D::get_Author, &D::put_Author},
                            {5, &D::get_Keywords, &D::put_Keywords}, {6, &D::get_Comments, &D::put_Comments}, {8, &D::get_LastSavedBy, nullptr}};
    DocumentBuilder builder;
    for (const Field& field : fields)
        builder.summary(field.id, textValue("field " + std::to_string(field.id)));
    builder.summary(12, le32(64) + le(0x01D5B5AF4A5F4800, 8)).summary(13, le32(64) + le(0x01D5B677F7E50000, 8));
    const auto document = reopen(builder);
    for (const Field& field : fields) {
        EXPECT_EQ(textFrom(*document, field.get), "field " + std::to_string(field.id));
        if (field.put) {
            EXPECT_EQ((document.get()->*field.put)(OwnedBstr(u"changed").get()), S_OK);
            EXPECT_EQ(textFrom(*document, field.get), "changed") << field.id;
        }
    }
    EXPECT_EQ(textFrom(*document, &D::get_LastSavedBy), "field 8");
    EXPECT_EQ(textFrom(*document, &D::get_CreationDate), "Wednesday, December 18, 2019 2:27:34 PM");
    EXPECT_EQ(textFrom(*document, &D::get_LastSavedDate), "Thursday, December 19, 2019 2:24:05 PM");
    EXPECT_EQ(textFrom(*ask<ICommonCadDocument>(document.get(), IID_ICommonCadDocument), &ICommonCadDocument::GetTags), "changed");

    DocumentBuilder unknown;
    unknown.summary(1, shortValue(9999));
    EXPECT_EQ(reopen(unknown)->put_Title(OwnedBstr(u"Title").get()), E_FAIL) << "nobody could read it in that code page";
}

TEST_F(Document, GivesVisibleAndInvisiblePropertiesApart)
{
    DocumentBuilder builder;
    builder.visible("Material", textValue("Steel")).linked("Weight", "12.5", "\"KV-Mass@a.kvdprt\"").visible("Approved", flagValue(true));
    builder.invisible("Hidden", numberValue(-7));
    const auto document = reopen(builder);
    EXPECT_EQ(valueFrom(*document, &IKvDMDocument::GetCustomPropertyCount, LONG{9}), 3);
    EXPECT_EQ(valueFrom(*document, &IKvDMDocument2::GetInvisibleCustomPropertyCount, LONG{9}), 1);
    EXPECT_EQ(textsFrom(*document, &IKvDMDocument2::GetInvisibleCustomPropertyNames), std::vector<std::string>{"Hidden"});
    OwnedVariant names, types, links, values;
    ASSERT_EQ(document->GetAllCustomPropertyNamesAndValues(names.put(), types.put(), links.put(), values.put()), S_OK);
    EXPECT_EQ(textsIn(names.get()), (std::vector<std::string>{"Material", "Weight", "Approved"}));
    EXPECT_EQ(textsIn(links.get()), (std::vector<std::string>{"", "\"KV-Mass@a.kvdprt\"", ""}));
    EXPECT_EQ(textsIn(values.get()), (std::vector<std::string>{"Steel", "12.5", "Yes"}));
    ASSERT_EQ(types.get().vt, VT_ARRAY | VT_I4);
    const LONG* numbers = static_cast<LONG*>(types.get().parray->pvData);
    EXPECT_EQ(std::vector<LONG>(numbers, numbers + 3), (std::vector<LONG>{30, 30, 11}));

    // Found without regard to case; the simple getter shows the link in place of the value.
    KvDmCustomInfoType type = kvDmCustomInfoUnknown;
    OwnedBstr value, link;
    EXPECT_EQ(document->GetCustomProperty(OwnedBstr(u"wEIGHT").get(), &type, value.put()), S_OK);
    EXPECT_EQ(value.view(), u"\"KV-Mass@a.kvdprt\"");
    EXPECT_EQ(document->GetCustomPropertyValues(OwnedBstr(u"Weight").get(), &type, link.put(), value.put()), S_OK);
    EXPECT_EQ(value.view(), u"12.5");
    EXPECT_EQ(document->GetCustomProperty(OwnedBstr(u"Hidden").get(), &type, value.put()), E_FAIL);
    EXPECT_NE(value.get(), nullptr) << "a string output is written even when the call failed";
    EXPECT_EQ(value.view(), u"");
    EXPECT_EQ(type, kvDmCustomInfoUnknown);
    const auto neutral = ask<ICommonCadDocument>(document.get(), IID_ICommonCadDocument);
    EXPECT_EQ(neutral->GetCustomProperty(OwnedBstr(u"material").get(), value.put()), S_OK);
    EXPECT_EQ(value.view(), u"Steel");
    EXPECT_EQ(textsFrom(*neutral, &ICommonCadDocument::GetCustomPropertyNames), textsIn(names.get()));
    ICommonCADConfigurationMgr* const untouched = reinterpret_cast<ICommonCADConfigurationMgr*>(&path);
    ICommonCADConfigurationMgr* manager = untouched;
    EXPECT_EQ(neutral->get_ConfigurationManager(&manager), S_OK);
    EXPECT_EQ(manager, untouched);
}

TEST_F(Document, WritesStreamsToTheFilesThatAreNamed)
{
    const std::string light(200000, 'l');
    const std::string target = folder / "out";
    const OwnedBstr name(fromUtf8(target));
    const OwnedBstr nowhere(fromUtf8(folder / "no/folder/out"));
    constexpr int untouched = 77;
    const auto lumoview = [&](IKvDMDocument& document, const OwnedBstr& to) {
        KvDmLmvDataError error = static_cast<KvDmLmvDataError>(untouched);
        EXPECT_EQ(document.GetLumoviewData(to.get(), &error), S_OK);
        return static_cast<int>(error);
    };
    const auto xml = [&](IKvDMDocument& document, const OwnedBstr& to) {
        KvDmXmlDataError error = static_cast<KvDmXmlDataError>(untouched);
        EXPECT_EQ(document.GetXmlStream(to.get(), &error), S_OK);
        return static_cast<int>(error);
    };
    DocumentBuilder builder;
    builder.contents.stream(u"eModel", light);
    builder.xmlContents.stream(u"COMPINSTANCETREE__ZLB", zlbNode("<tree/>"));
    auto document = reopen(builder);
    writeWholeFile(target, patternBytes(300000)); // longer than what comes
    EXPECT_EQ(lumoview(*document, name), kvDmLmvDataErrorNone);
    EXPECT_EQ(readWholeFile(target), Bytes(light.begin(), light.end()));
    EXPECT_EQ(lumoview(*document, nowhere), kvDmLmvDataErrorFileCreation);
    EXPECT_EQ(xml(*document, name), kvDmXmlDataErrorNone);
    EXPECT_EQ(readWholeFile(target), (Bytes{'<', 't', 'r', 'e', 'e', '/', '>'}));
    EXPECT_EQ(xml(*document, nowhere), kvDmXmlDataErrorFileCreation);

    DocumentBuilder without;
    document = reopen(without);
    EXPECT_EQ(lumoview(*document, name), kvDmLmvDataErrorNoData);
    EXPECT_EQ(xml(*document, name), kvDmXmlDataErrorNoData);
    EXPECT_EQ(readWholeFile(target).size(), 7u) << "the file of that name is left as it is";

    DocumentBuilder noStorages;
    noStorages.contents.name = u"Other";
    noStorages.xmlContents.name = u"kvOther";
    document = reopen(noStorages);
    EXPECT_EQ(lumoview(*document, name), untouched) << "a plain failure says nothing";
    EXPECT_EQ(xml(*document, name), kvDmXmlDataErrorNoData);

    writeWholeFile(folder / "a.kvdprt", patternBytes(100));
    document = mustOpen(folder / "a.kvdprt");
    EXPECT_EQ(lumoview(*document, name), untouched);
    EXPECT_EQ(xml(*document, name), untouched);
}

} // namespace
} // namespace kvdm::test
