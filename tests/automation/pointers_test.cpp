// Every method tells an empty out-pointer, whatever state its object is in.
#include "automation/automationTools.h"

namespace kvdm::test {
namespace {

TEST(EmptyOutPointers, AreToldByEveryMethodOfTheApplication)
{
    const auto application = newApplication();
    const OwnedBstr path(u"/nowhere.kvdprt");
    KvDmDocumentOpenError result = kvDmDocumentOpenErrorNone;
    ComPtr<IKvDMDocument> document;
    EXPECT_EQ(application->GetDocument(path.get(), kvDmDocumentPart, -1, nullptr, document.put()), E_POINTER);
    EXPECT_EQ(application->GetDocument(path.get(), kvDmDocumentPart, -1, &result, nullptr), E_POINTER);
    EXPECT_EQ(application->GetDocument2(nullptr, nullptr, document.put()), E_POINTER);
    EXPECT_EQ(application->GetDocument2(nullptr, &result, nullptr), E_POINTER);
    EXPECT_EQ(application->GetSearchOptionObject(nullptr), E_POINTER);
    EXPECT_EQ(application->GetLatestSupportedFileVersion(nullptr), E_POINTER);
    ComPtr<IKvDMClassFactory> factory;
    ASSERT_EQ(DllGetClassObject(CLSID_KvDMClassFactory, IID_IKvDMClassFactory, factory.putVoid()), S_OK);
    EXPECT_EQ(factory->GetApplication(nullptr), E_POINTER);
}

// What every one of the calls is to give.
template <class... Status> void expectPointer(const std::string& object, Status... statuses)
{
    int call = 0;
    for (const HRESULT status : {statuses...})
        EXPECT_EQ(status, E_POINTER) << object << ", call " << ++call;
}

TEST(EmptyOutPointers, AreToldByEveryMethodOfTheDocument)
{
    const OwnedBstr text(u"Material");
    KvDmCustomInfoType type;
    BSTR string = nullptr;
    VARIANT a, b, c;
    KvDmPreviewError preview;
    IDispatch* picture;
    TemporaryFolder folder;
    writeWholeFile(folder / "text.kvdprt", patternBytes(100));
    for (const std::string& path : {corpus("bracket.kvdprt"), folder / "text.kvdprt"}) {
        const auto document = mustOpen(path);
        IKvDMDocument12& d = *document;
        expectPointer(path, d.get_Application(nullptr), d.get_FullName(nullptr), d.GetAllExternalReferences(nullptr, nullptr),
                      d.WhereUsed(nullptr, nullptr), d.WhereUsed(nullptr, &a), d.get_ConfigurationManager(nullptr),
                      d.GetLumoviewData(text.get(), nullptr), d.GetLastUpdateStamp(nullptr),
                      d.AddCustomProperty(text.get(), kvDmCustomInfoText, text.get(), nullptr), d.GetCustomProperty(text.get(), nullptr, &string),
                      d.GetCustomProperty(text.get(), &type, nullptr), d.DeleteCustomProperty(text.get(), nullptr), d.GetCustomPropertyCount(nullptr),
                      d.GetCustomPropertyNames(nullptr), d.GetVersion(nullptr), d.get_Title(nullptr), d.get_Subject(nullptr), d.get_Author(nullptr),
                      d.get_Keywords(nullptr), d.get_Comments(nullptr), d.get_LastSavedBy(nullptr), d.get_CreationDate(nullptr),
                      d.get_LastSavedDate(nullptr), d.GetHyperLinksCount(nullptr), d.GetHyperLinkAt(0, nullptr), d.IsDetachedDrawing(nullptr),
                      d.Save(nullptr), d.SaveAs(text.get(), nullptr), d.get_ToolboxPart(nullptr), d.GetXmlStream(text.get(), nullptr),
                      d.AddInvisibleCustomProperty(text.get(), kvDmCustomInfoText, text.get(), nullptr),
                      d.GetInvisibleCustomProperty(text.get(), nullptr, &string), d.GetInvisibleCustomProperty(text.get(), &type, nullptr),
                      d.DeleteInvisibleCustomProperty(text.get(), nullptr), d.GetInvisibleCustomPropertyCount(nullptr),
                      d.GetInvisibleCustomPropertyNames(nullptr), d.GetAllCustomPropertyNamesAndValues(nullptr, &a, &b, &c),
                      d.GetAllCustomPropertyNamesAndValues(&a, nullptr, &b, &c), d.GetAllCustomPropertyNamesAndValues(&a, &b, nullptr, &c),
                      d.GetAllCustomPropertyNamesAndValues(&a, &b, &c, nullptr), d.GetSheetCount(nullptr), d.GetActiveSheetName(nullptr),
                      d.GetCustomPropertyValues(text.get(), nullptr, nullptr, &string),
                      d.GetCustomPropertyValues(text.get(), &type, nullptr, nullptr), d.GetLinkedAttachments(nullptr),
                      d.GetAllExternalReferences2(nullptr, &a, nullptr), d.GetSheetNames(nullptr), d.IsSmartComponentDocument(nullptr),
                      d.GetChangedReferences(nullptr, &a), d.GetChangedReferences(&a, nullptr), d.GetKeyWordStream(text.get(), nullptr),
                      d.GetComponentCount(nullptr), d.GetKeyWordStream2(nullptr, nullptr), d.get_PreviewStreamName(nullptr),
                      d.GetPreviewBitmap(nullptr, &picture), d.GetPreviewBitmap(&preview, nullptr), d.get_PreviewPNGStreamName(nullptr),
                      d.GetPreviewPNGBitmap(nullptr, &picture), d.GetPreviewPNGBitmap(&preview, nullptr), d.GetTableNames(kvDmTableTypeBOM, nullptr),
                      d.GetViews(nullptr), d.GetSheets(nullptr), d.GetCutListItems(nullptr), d.GetAllExternalReferences3(nullptr, &a, &b, nullptr));
        const auto bytes = ask<IKvDMDocument11>(document.get(), IID_IKvDMDocument11);
        const auto neutral = ask<ICommonCadDocument>(document.get(), IID_ICommonCadDocument);
        expectPointer(path + ", other faces", bytes->GetPreviewBitmapBytes(&preview, nullptr), bytes->GetPreviewPNGBitmapBytes(&preview, nullptr),
                      neutral->GetTags(nullptr), neutral->GetCustomPropertyNames(nullptr), neutral->GetCustomProperty(text.get(), nullptr),
                      neutral->GetAllExternalReferences(nullptr, &a, nullptr));
    }
}

TEST(EmptyOutPointers, AreToldByEveryMethodOfConfigurations)
{
    const OwnedBstr text(u"Default");
    KvDmCustomInfoType type;
    KvDmMassPropError mass;
    KvDmPreviewError preview;
    BSTR string = nullptr;
    VARIANT a, b, c;
    IDispatch* picture;
    ComPtr<IKvDMConfigurationMgr> manager;
    ComPtr<IKvDMConfiguration> found;
    ASSERT_EQ(mustOpen(corpus("bracket.kvdprt"))->get_ConfigurationManager(manager.put()), S_OK);
    ASSERT_EQ(manager->GetConfigurationByName(text.get(), found.put()), S_OK);
    const auto configuration = ask<IKvDMConfiguration9>(found.get(), IID_IKvDMConfiguration9);
    expectPointer("manager", manager->get_Application(nullptr), manager->get_Document(nullptr), manager->GetConfigurationCount(nullptr),
                  manager->GetConfigurationByName(text.get(), nullptr), manager->GetConfigurationNames(nullptr),
                  manager->GetActiveConfigurationName(nullptr));
    IKvDMConfiguration9& f = *configuration;
    expectPointer("configuration", f.get_Application(nullptr), f.get_Document(nullptr), f.get_Name(nullptr), f.get_StreamName(nullptr),
                  f.GetLastUpdateStamp(nullptr), f.GetMassProperties(nullptr, &a), f.GetMassProperties(&mass, nullptr),
                  f.AddCustomProperty(text.get(), kvDmCustomInfoText, text.get(), nullptr), f.GetCustomProperty(text.get(), nullptr, &string),
                  f.GetCustomProperty(text.get(), &type, nullptr), f.DeleteCustomProperty(text.get(), nullptr), f.GetCustomPropertyCount(nullptr),
                  f.GetCustomPropertyNames(nullptr), f.GetPreviewBitmap(nullptr, &picture), f.GetPreviewBitmap(&preview, nullptr),
                  f.GetBodiesCount(nullptr), f.GetBody(0, text.get(), nullptr), f.get_PreviewStreamName(nullptr), f.get_Description(nullptr),
                  f.GetParentConfigurationName(nullptr), f.get_PartitionStreamName(nullptr), f.GetPartitionStream(text.get(), nullptr),
                  f.GetComponents(nullptr), f.GetImportedBodiesCount(nullptr), f.GetImportedBody(0, text.get(), nullptr),
                  f.GetAllCustomPropertyNamesAndValues(nullptr, &a, &b, &c), f.GetAllCustomPropertyNamesAndValues(&a, &b, &c, nullptr),
                  f.get_Comment(nullptr), f.get_AlternateName(nullptr), f.GetCustomPropertyValues(text.get(), nullptr, nullptr, &string),
                  f.GetCustomPropertyValues(text.get(), &type, nullptr, nullptr), f.get_Name2(nullptr), f.get_Comment2(nullptr),
                  f.get_AlternateName2(nullptr), f.get_Delete(nullptr), f.get_PreviewPNGStreamName(nullptr), f.GetPreviewPNGBitmap(nullptr, &picture),
                  f.GetPreviewPNGBitmap(&preview, nullptr), f.GetPreviewPNGBitmapBytes(&preview, nullptr), f.GetPreviewBitmapBytes(&preview, nullptr),
                  f.GetPreviewPNGBitmapBytes(nullptr, &a), f.GetPreviewBitmapBytes(nullptr, &a));
}

// Optional outputs and empty in-strings are no error.
TEST(EmptyOutPointers, AreAllowedWhereTheMethodDoesNotNeedThem)
{
    const auto document = mustOpen(corpus("bracket.kvdprt"));
    KvDmCustomInfoType type = kvDmCustomInfoText;
    OwnedBstr value;
    EXPECT_EQ(document->GetCustomPropertyValues(nullptr, &type, nullptr, value.put()), E_FAIL) << "no property has the empty name";
    EXPECT_EQ(type, kvDmCustomInfoUnknown);
    KvDmDocumentSaveError error = kvDmDocumentSaveErrorNone;
    EXPECT_EQ(document->SaveAs(nullptr, &error), S_OK);
    EXPECT_EQ(error, kvDmDocumentSaveErrorFail);
    const auto neutral = ask<ICommonCadDocument>(document.get(), IID_ICommonCadDocument);
    EXPECT_EQ(neutral->DoDissectionToStore(nullptr), E_NOTIMPL);
    EXPECT_EQ(neutral->GetKeyWordStream(nullptr), S_OK);
    EXPECT_EQ(neutral->get_ConfigurationManager(nullptr), S_OK);
    OwnedVariant list;
    EXPECT_EQ(document->GetAllExternalReferences3(nullptr, nullptr, nullptr, list.put()), S_OK);
    EXPECT_EQ(document->GetTable(nullptr, nullptr), S_OK);
    KvDmXmlDataError xmlError = kvDmXmlDataErrorNone;
    EXPECT_EQ(document->GetKeyWordStream2(nullptr, &xmlError), S_OK);
    EXPECT_EQ(xmlError, kvDmXmlDataErrorFileCreation) << "there are keywords, and no DOM to give";
    EXPECT_EQ(newApplication()->CopyDocument(nullptr, nullptr, {}, {}, 0, nullptr, nullptr), S_OK);
}

} // namespace
} // namespace kvdm::test
