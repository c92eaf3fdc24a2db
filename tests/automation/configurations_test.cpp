// Configurations as a client meets them: the list, look-up, renaming, deletion marks, properties, mass figures, lifetime.
#include "automation/automationTools.h"
#include "support/StorageTools.h"

#include <limits>

namespace kvdm::test {
namespace {

using Texts = std::vector<std::string>;

class Configurations : public ::testing::Test
{
protected:
    ~Configurations() override { EXPECT_EQ(DllCanUnloadNow(), S_OK); }

    // The document's manager, which alone keeps it open.
    ComPtr<IKvDMConfigurationMgr> managerOf(DocumentBuilder& builder, bool readOnly = true)
    {
        builder.write(path);
        return managerOf(readOnly);
    }
    ComPtr<IKvDMConfigurationMgr> managerOf(bool readOnly = true)
    {
        ComPtr<IKvDMConfigurationMgr> manager;
        EXPECT_EQ(mustOpen(path, readOnly)->get_ConfigurationManager(manager.put()), S_OK);
        return manager;
    }
    static ComPtr<IKvDMConfiguration9> find(IKvDMConfigurationMgr& manager, std::u16string_view name, HRESULT expected = S_OK)
    {
        ComPtr<IKvDMConfiguration> found;
        EXPECT_EQ(manager.GetConfigurationByName(OwnedBstr(name).get(), found.put()), expected) << toUtf8(name);
        return found ? ask<IKvDMConfiguration9>(found.get(), IID_IKvDMConfiguration9) : nullptr;
    }
    static Texts namesOf(IKvDMConfigurationMgr& manager) { return textsFrom(manager, &IKvDMConfigurationMgr::GetConfigurationNames); }
    static LONG countOf(IKvDMConfigurationMgr& manager) { return valueFrom(manager, &IKvDMConfigurationMgr::GetConfigurationCount, LONG{99}); }
    static std::string name(IKvDMConfiguration9& configuration) { return textFrom(configuration, &IKvDMConfiguration9::get_Name2); }
    static void rename(IKvDMConfiguration9& configuration, std::u16string_view to) { EXPECT_EQ(configuration.put_Name2(OwnedBstr(to).get()), S_OK); }
    static void save(IKvDMConfigurationMgr& manager)
    {
        ComPtr<IKvDMDocument> document;
        ASSERT_EQ(manager.get_Document(document.put()), S_OK);
        EXPECT_EQ(valueFrom(*document, &IKvDMDocument::Save, kvDmDocumentSaveErrorFail), kvDmDocumentSaveErrorNone);
    }
    static Texts propertiesOf(IKvDMConfiguration9& configuration)
    {
        OwnedVariant names, types, links, values;
        EXPECT_EQ(configuration.GetAllCustomPropertyNamesAndValues(names.put(), types.put(), links.put(), values.put()), S_OK);
        Texts all = textsIn(names.get());
        const Texts texts = textsIn(values.get());
        for (std::size_t i = 0; i < all.size(); ++i)
            all[i] += "=" + texts.at(i);
        return all;
    }

    TemporaryFolder folder;
    std::string path = folder / "a.kvdprt";
};

TEST_F(Configurations, ListMayHoldAClassThatThePropertiesOwn)
{
    DocumentBuilder builder;
    builder.withConfigurations = false;
    ArchiveBuilder list;
    list.object("dmConfigMgrHeader_c").count(1).object("suOlePropertyHelper").text(u"x").u32(1);
    builder.contents.stream(u"CMgrHdr2", list.bytes);
    EXPECT_EQ(countOf(*managerOf(builder)), 0) << "read, and no configuration";
}

TEST_F(Configurations, AreListedInFileOrderWithoutDeletedOnes)
{
    DocumentBuilder builder;
    builder.configurations = {{.name = u"Zeta", .id = 4, .parent = 9},
                              {.name = u"Gone", .kind = 2, .id = 9},
                              {.name = u"Active", .kind = 1, .id = 3, .parent = 4, .description = u"d", .comment = u"c", .alternateName = u"a"},
                              {.name = u"Later", .kind = 1, .id = 5, .parent = 77},
                              {.name = u"", .kind = 7, .id = 0xFFFFFFFF}};
    const auto manager = managerOf(builder);
    EXPECT_EQ(countOf(*manager), 4);
    EXPECT_EQ(namesOf(*manager), (Texts{"Zeta", "Active", "Later", ""}));
    EXPECT_EQ(textFrom(*manager, &IKvDMConfigurationMgr::GetActiveConfigurationName), "Active");
    struct Case
    {
        const char16_t* name;
        const char* streamName;
        LONG stamp;
        const char* parent;
    };
    for (const Case& c : {Case{u"Zeta", "Config-4", 1345, "Gone"}, Case{u"Active", "Config-3", 1344, "Zeta"}, Case{u"Later", "Config-5", 1346, ""},
                          Case{u"", "Config--1", 1340, ""}}) {
        const auto configuration = find(*manager, c.name);
        EXPECT_EQ(textFrom(*configuration, &IKvDMConfiguration9::get_Name), toUtf8(c.name));
        EXPECT_EQ(textFrom(*configuration, &IKvDMConfiguration9::get_StreamName), c.streamName);
        EXPECT_EQ(valueFrom(*configuration, &IKvDMConfiguration::GetLastUpdateStamp, LONG{1}), c.stamp);
        EXPECT_EQ(textFrom(*configuration, &IKvDMConfiguration9::GetParentConfigurationName), c.parent);
    }
    const auto active = find(*manager, u"Active");
    EXPECT_EQ(textFrom(*active, &IKvDMConfiguration9::get_Description), "d");
    EXPECT_EQ(textFrom(*active, &IKvDMConfiguration9::get_Comment), "c");
    EXPECT_EQ(textFrom(*active, &IKvDMConfiguration9::get_AlternateName2), "a");
}

TEST_F(Configurations, AreNotThereWithoutAReadableList)
{
    DocumentBuilder none;
    none.withConfigurations = false;
    DocumentBuilder refused(3265); // a version whose headers cannot be read
    for (DocumentBuilder* builder : {&none, &refused}) {
        const auto manager = managerOf(*builder);
        EXPECT_EQ(countOf(*manager), -1);
        OwnedVariant names;
        EXPECT_EQ(manager->GetConfigurationNames(names.put()), E_FAIL);
        EXPECT_EQ(names.get().vt, VT_EMPTY);
        EXPECT_EQ(textFrom(*manager, &IKvDMConfigurationMgr::GetActiveConfigurationName), "");
        EXPECT_FALSE(find(*manager, u"Default", E_FAIL));
    }
    DocumentBuilder inactive;
    inactive.configurations = {{.name = u"Only"}};
    EXPECT_EQ(textFrom(*managerOf(inactive), &IKvDMConfigurationMgr::GetActiveConfigurationName), "");
    DocumentBuilder empty;
    empty.configurations.clear();
    const auto manager = managerOf(empty);
    EXPECT_EQ(countOf(*manager), 0);
    OwnedVariant names;
    EXPECT_EQ(manager->GetConfigurationNames(names.put()), S_OK);
    EXPECT_EQ(names.get().vt, VT_ARRAY | VT_BSTR);
    EXPECT_TRUE(textsIn(names.get()).empty());
}

TEST_F(Configurations, AreFoundByTheExactNameWithOneWrapperEach)
{
    DocumentBuilder builder;
    builder.configurations.push_back({.name = u"SECOND", .id = 8});
    builder.configurations.push_back({.name = u"Gone", .kind = 2, .id = 9});
    const auto manager = managerOf(builder);
    for (const char16_t* wrong : {u"default", u"Default ", u"Gone", u""})
        EXPECT_FALSE(find(*manager, wrong, E_FAIL));
    const auto first = find(*manager, u"Default");
    EXPECT_EQ(find(*manager, u"Default").get(), first.get());
    // The record is found without regard to case: the first of two that differ in case answers for both names.
    EXPECT_EQ(textFrom(*find(*manager, u"SECOND"), &IKvDMConfiguration9::get_StreamName), "Config-7");
}

TEST_F(Configurations, RefuseNamesInSilence)
{
    DocumentBuilder builder;
    builder.configurations.push_back({.name = u"Gone", .kind = 2, .id = 9});
    const auto manager = managerOf(builder);
    const auto second = find(*manager, u"Second");
    EXPECT_EQ(second->put_Name2(nullptr), S_OK);
    for (const char16_t* refused : {u"", u"a@b", u"@", u"a/b", u"Default", u"dEFAULT", u"gone", u"SECOND"}) {
        rename(*second, refused);
        EXPECT_EQ(name(*second), "Second") << toUtf8(refused);
    }
    rename(*second, u"a\\b\u00e9 ");
    EXPECT_EQ(name(*second), "a\\b\u00e9 ");
}

TEST_F(Configurations, KeepTheOldKeyAfterARenameUntilTheWrapperDies)
{
    DocumentBuilder builder;
    builder.configurations.push_back({.name = u"Third", .id = 8});
    const auto manager = managerOf(builder);
    auto held = find(*manager, u"Second");
    rename(*held, u"New");
    EXPECT_FALSE(find(*manager, u"Second", E_FAIL)) << "no record has that name";
    EXPECT_EQ(namesOf(*manager), (Texts{"Default", "New", "Third"}));
    auto other = find(*manager, u"New");
    EXPECT_NE(other.get(), held.get()) << "the held one stands under its old name";
    EXPECT_EQ(name(*other), "New");
    const auto third = find(*manager, u"Third");
    rename(*third, u"Second"); // the stale key now meets a name of the list again
    EXPECT_EQ(find(*manager, u"Second").get(), held.get());
    EXPECT_EQ(textFrom(*find(*manager, u"Second"), &IKvDMConfiguration9::get_StreamName), "Config-7");
    held.reset();
    EXPECT_EQ(textFrom(*find(*manager, u"Second"), &IKvDMConfiguration9::get_StreamName), "Config-8");
    other.reset();
    EXPECT_EQ(textFrom(*find(*manager, u"New"), &IKvDMConfiguration9::get_StreamName), "Config-7");
}

TEST_F(Configurations, DisappearAtOnceWhenMarkedAndComeBack)
{
    DocumentBuilder builder;
    const auto manager = managerOf(builder);
    const auto active = find(*manager, u"Default");
    EXPECT_EQ(active->put_Delete(VARIANT_TRUE), S_OK);
    EXPECT_EQ(valueFrom(*active, &IKvDMConfiguration7::get_Delete, VARIANT_BOOL{5}), VARIANT_FALSE) << "the active one stays";
    EXPECT_EQ(countOf(*manager), 2);
    const auto second = find(*manager, u"Second");
    EXPECT_EQ(second->put_Delete(1), S_OK); // any value but 0 is true
    EXPECT_EQ(valueFrom(*second, &IKvDMConfiguration7::get_Delete, VARIANT_BOOL{5}), VARIANT_TRUE);
    EXPECT_EQ(countOf(*manager), 1);
    EXPECT_EQ(namesOf(*manager), Texts{"Default"});
    EXPECT_FALSE(find(*manager, u"Second", E_FAIL));
    EXPECT_EQ(name(*second), "Second") << "the wrapper that is held still works";
    EXPECT_EQ(second->put_Delete(VARIANT_FALSE), S_OK);
    EXPECT_EQ(find(*manager, u"Second").get(), second.get());
    EXPECT_EQ(active->put_Delete(VARIANT_FALSE), S_OK);
    EXPECT_EQ(textFrom(*manager, &IKvDMConfigurationMgr::GetActiveConfigurationName), "Default");
}

TEST_F(Configurations, KeepTheirDocumentAlive)
{
    DocumentBuilder builder;
    auto manager = managerOf(builder);
    auto configuration = find(*manager, u"Second");
    manager.reset();
    EXPECT_EQ(DllCanUnloadNow(), S_FALSE);
    ComPtr<IKvDMDocument> document;
    EXPECT_EQ(configuration->get_Document(document.put()), S_OK);
    EXPECT_EQ(textFrom(*document, &IKvDMDocument::get_FullName), path);
    EXPECT_EQ(document->CloseDoc(), S_OK);
    document.reset();
    EXPECT_EQ(name(*configuration), "Second");
    ComPtr<IKvDMDocument> again;
    ComPtr<IKvDMConfigurationMgr> managerAgain;
    EXPECT_EQ(configuration->get_Document(again.put()), S_OK);
    EXPECT_EQ(again->get_ConfigurationManager(managerAgain.put()), S_OK);
    EXPECT_EQ(find(*managerAgain, u"Second").get(), configuration.get());
    ComPtr<IKvDMApplication> one, two;
    EXPECT_EQ(configuration->get_Application(one.put()), S_OK);
    EXPECT_EQ(managerAgain->get_Application(two.put()), S_OK);
    EXPECT_NE(one.get(), two.get());
}

TEST_F(Configurations, ReadTheirOwnProperties)
{
    DocumentBuilder builder;
    builder.visible("Finish", textValue("of the document")).ofConfiguration(7, {{"Finish", textValue("Gold")}, {"Length", numberValue(12)}});
    const auto manager = managerOf(builder);
    const auto second = find(*manager, u"Second");
    EXPECT_EQ(propertiesOf(*second), (Texts{"Finish=Gold", "Length=12"}));
    EXPECT_EQ(propertiesOf(*find(*manager, u"Default")), Texts{});
    KvDmCustomInfoType type = kvDmCustomInfoUnknown;
    OwnedBstr link, value;
    EXPECT_EQ(second->GetCustomPropertyValues(OwnedBstr(u"LENGTH").get(), &type, link.put(), value.put()), S_OK);
    EXPECT_EQ(type, kvDmCustomInfoNumber);
    EXPECT_EQ(toUtf8(value.view()), "12");
    EXPECT_EQ(second->SetCustomProperty(OwnedBstr(u"None").get(), nullptr), E_FAIL);
    DocumentBuilder damaged;
    damaged.root.stream(u"Config-7-Properties", "no property set");
    EXPECT_EQ(propertiesOf(*find(*managerOf(damaged), u"Second")), Texts{});
}

TEST_F(Configurations, KeepEditsOfReleasedOnesForTheNextSave)
{
    DocumentBuilder builder;
    builder.configurations.push_back({.name = u"Third", .id = 8});
    builder.ofConfiguration(7, {{"Finish", textValue("Gold")}}).ofConfiguration(8, {{"Only", textValue("x")}});
    VARIANT_BOOL outcome = VARIANT_FALSE;
    {
        const auto manager = managerOf(builder, false);
        const auto second = find(*manager, u"Second"); // released before the save, as the others below
        EXPECT_EQ(second->SetCustomProperty(OwnedBstr(u"finish").get(), OwnedBstr(u"Silver").get()), S_OK);
        EXPECT_EQ(second->AddCustomProperty(OwnedBstr(u"Count").get(), kvDmCustomInfoNumber, OwnedBstr(u"3").get(), &outcome), S_OK);
        EXPECT_EQ(outcome, VARIANT_TRUE);
        rename(*second, u"Renamed");
        EXPECT_EQ(second->put_Description(OwnedBstr(u"new d").get()), S_OK);
        EXPECT_EQ(second->put_Comment2(OwnedBstr(u"new c").get()), S_OK);
        EXPECT_EQ(second->put_AlternateName2(nullptr), S_OK);
        EXPECT_EQ(find(*manager, u"Third")->DeleteCustomProperty(OwnedBstr(u"Only").get(), &outcome), S_OK);
        EXPECT_EQ(outcome, VARIANT_TRUE);
        EXPECT_EQ(find(*manager, u"Third")->put_Delete(VARIANT_TRUE), S_OK);
        save(*manager);
    }
    const auto manager = managerOf();
    EXPECT_EQ(namesOf(*manager), (Texts{"Default", "Renamed"}));
    const auto renamed = find(*manager, u"Renamed");
    EXPECT_EQ(propertiesOf(*renamed), (Texts{"Finish=Silver", "Count=3"}));
    EXPECT_EQ(textFrom(*renamed, &IKvDMConfiguration9::get_Description), "new d");
    EXPECT_EQ(textFrom(*renamed, &IKvDMConfiguration9::get_Comment), "new c");
    EXPECT_EQ(textFrom(*renamed, &IKvDMConfiguration9::get_AlternateName), "");
    EXPECT_EQ(textFrom(*renamed, &IKvDMConfiguration9::get_StreamName), "Config-7");
    const auto storage = openStorageOf(readWholeFile(path));
    EXPECT_TRUE(readStream(*storage, u"Config-7-Properties"));
    EXPECT_FALSE(readStream(*storage, u"Config-8-Properties")) << "the last property went";
    EXPECT_FALSE(readStream(*storage, u"Config-0-Properties"));
    auto expected = twoConfigurations();
    expected[1].name = u"Renamed";
    expected[1].description = u"new d";
    expected[1].comment = u"new c";
    expected[1].alternateName.clear();
    expected.push_back({.name = u"Third", .kind = 2, .id = 8});
    ComPtr<IStorage> contents;
    ASSERT_EQ(storage->OpenStorage(u"Contents", nullptr, readElement, nullptr, 0, contents.put()), S_OK);
    EXPECT_EQ(readStream(*contents, u"CMgrHdr2"), configMgrHeaderStream(3800, false, expected)) << "the deleted one stays as a record of kind 2";
}

TEST_F(Configurations, LeavePropertiesThatDoNotReadWholeToTheFile)
{
    DocumentBuilder builder;
    const std::string torn = userStream({{0, dictionary({{2, "A"}})}, {2, textValue("x")}}).substr(0, 60);
    builder.root.stream(u"Config-7-Properties", torn);
    {
        const auto manager = managerOf(builder, false);
        find(*manager, u"Second");
        save(*manager);
    }
    EXPECT_EQ(readStream(*openStorageOf(readWholeFile(path)), u"Config-7-Properties"), Bytes(torn.begin(), torn.end()));
}

// ---- mass figures ---------------------------------------------------------------------------------------------------

TEST_F(Configurations, TurnMassTextsIntoThirteenNumbers)
{
    constexpr double infinity = std::numeric_limits<double>::infinity();
    const std::string zeros(400, '0');
    struct Case
    {
        std::string text;
        std::vector<double> figures; // the rest is 0
    };
    for (const Case& c :
         {Case{"1" + zeros + "e-9,00001" + zeros + ",0." + zeros + "1e+9,0x0.8p2000,0x1" + zeros + "p-9,0x.0" + zeros + "1p9,1e99999999999999999999,",
               {infinity, infinity, 0, infinity, infinity, 0, infinity}},
          Case{"1,2.5,-3e-2,+4,", {1, 2.5, -0.03, 4}}, Case{"1,2,3,4,5,6,7,8,9,10,11,12,13,14,", {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13}},
          Case{"1,2", {1}}, Case{"", {}}, Case{",,3,", {0, 0, 3}}, Case{" 7 ,\t8x,x8,--1,+-1,-+1,1 2,.5,5.,", {7, 8, 0, 0, 0, 0, 1, 0.5, 5}},
          Case{"1e400,-1e400,1e-400,0x10,0x1.8p1,-0x,1e+2,1e,", {infinity, -infinity, 0, 16, 3, 0, 100, 1}}}) {
        DocumentBuilder builder;
        builder.invisible("KV-MassProp-Config-7", textValue(c.text));
        const auto second = find(*managerOf(builder), u"Second");
        KvDmMassPropError error = kvDmMassPropErrorUnknown;
        OwnedVariant figures;
        EXPECT_EQ(second->GetMassProperties(&error, figures.put()), S_OK);
        EXPECT_EQ(error, kvDmMassPropErrorNone) << c.text;
        ASSERT_EQ(figures.get().vt, VT_ARRAY | VT_R8);
        ASSERT_EQ(figures.get().parray->rgsabound[0].cElements, 13u);
        std::vector<double> expected = c.figures;
        expected.resize(13);
        const auto* found = static_cast<const double*>(figures.get().parray->pvData);
        EXPECT_EQ(std::vector<double>(found, found + 13), expected) << c.text;
    }
}

TEST_F(Configurations, TellWhyThereAreNoMassFigures)
{
    for (const auto& [version, property, expected] :
         {std::tuple{2285, "KV-MassProp-Config-7", kvDmMassPropErrorEarlierVersion}, std::tuple{2286, "KV-MassProp-Config-7", kvDmMassPropErrorNone},
          std::tuple{3800, "KV-MassProp-Config-0", kvDmMassPropErrorNoData}}) {
        DocumentBuilder builder(version);
        builder.invisible(property, textValue("1,"));
        const auto second = find(*managerOf(builder), u"Second");
        KvDmMassPropError error = kvDmMassPropErrorUnknown;
        OwnedVariant figures;
        EXPECT_EQ(second->GetMassProperties(&error, figures.put()), S_OK);
        EXPECT_EQ(error, expected) << version;
        EXPECT_EQ(figures.get().vt, expected == kvDmMassPropErrorNone ? VT_ARRAY | VT_R8 : VT_EMPTY);
        error = kvDmMassPropErrorNone;
        EXPECT_EQ(second->GetMassProperties(&error, nullptr), E_POINTER);
        EXPECT_EQ(error, kvDmMassPropErrorUnknown) << "set before the pointer is looked at";
    }
}

} // namespace
} // namespace kvdm::test
