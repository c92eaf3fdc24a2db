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

struct Call
{
    const char* name;
    std::function<HRESULT(IKvDMDocument12&)> run;
};

#define CALL(call)                                                                                                                                   \
    {                                                                                                                                                \
#call, [&](IKvDMDocument12 & d) { return d.call; }                                                                                           \
    }

TEST(EmptyOutPointers, AreToldByEveryMethodOfTheDocument)
{
    const OwnedBstr text(u"Material");
    KvDmCustomInfoType type;
    BSTR string = nullptr;
    VARIANT a, b, c;
    KvDmPreviewError preview;
    IDispatch* picture;
    const std::vector<Call> calls = {
        CALL(get_Application(nullptr)),
        CALL(get_FullName(nullptr)),
        CALL(GetAllExternalReferences(nullptr, nullptr)),
        CALL(WhereUsed(nullptr, nullptr)),
        CALL(WhereUsed(nullptr, &a)), // an option is needed
        CALL(get_ConfigurationManager(nullptr)),
        CALL(GetLumoviewData(text.get(), nullptr)),
        CALL(GetLastUpdateStamp(nullptr)),
        CALL(AddCustomProperty(text.get(), kvDmCustomInfoText, text.get(), nullptr)),
        CALL(GetCustomProperty(text.get(), nullptr, &string)),
        CALL(GetCustomProperty(text.get(), &type, nullptr)),
        CALL(DeleteCustomProperty(text.get(), nullptr)),
        CALL(GetCustomPropertyCount(nullptr)),
        CALL(GetCustomPropertyNames(nullptr)),
        CALL(GetVersion(nullptr)),
        CALL(get_Title(nullptr)),
        CALL(get_Subject(nullptr)),
        CALL(get_Author(nullptr)),
        CALL(get_Keywords(nullptr)),
        CALL(get_Comments(nullptr)),
        CALL(get_LastSavedBy(nullptr)),
        CALL(get_CreationDate(nullptr)),
        CALL(get_LastSavedDate(nullptr)),
        CALL(GetHyperLinksCount(nullptr)),
        CALL(GetHyperLinkAt(0, nullptr)),
        CALL(IsDetachedDrawing(nullptr)),
        CALL(Save(nullptr)),
        CALL(SaveAs(text.get(), nullptr)),
        CALL(get_ToolboxPart(nullptr)),
        CALL(GetXmlStream(text.get(), nullptr)),
        CALL(AddInvisibleCustomProperty(text.get(), kvDmCustomInfoText, text.get(), nullptr)),
        CALL(GetInvisibleCustomProperty(text.get(), nullptr, &string)),
        CALL(GetInvisibleCustomProperty(text.get(), &type, nullptr)),
        CALL(DeleteInvisibleCustomProperty(text.get(), nullptr)),
        CALL(GetInvisibleCustomPropertyCount(nullptr)),
        CALL(GetInvisibleCustomPropertyNames(nullptr)),
        CALL(GetAllCustomPropertyNamesAndValues(nullptr, &a, &b, &c)),
        CALL(GetAllCustomPropertyNamesAndValues(&a, nullptr, &b, &c)),
        CALL(GetAllCustomPropertyNamesAndValues(&a, &b, nullptr, &c)),
        CALL(GetAllCustomPropertyNamesAndValues(&a, &b, &c, nullptr)),
        CALL(GetSheetCount(nullptr)),
        CALL(GetActiveSheetName(nullptr)),
        CALL(GetCustomPropertyValues(text.get(), nullptr, nullptr, &string)),
        CALL(GetCustomPropertyValues(text.get(), &type, nullptr, nullptr)),
        CALL(GetLinkedAttachments(nullptr)),
        CALL(GetAllExternalReferences2(nullptr, &a, nullptr)),
        CALL(GetSheetNames(nullptr)),
        CALL(IsSmartComponentDocument(nullptr)),
        CALL(GetChangedReferences(nullptr, &a)),
        CALL(GetChangedReferences(&a, nullptr)),
        CALL(GetKeyWordStream(text.get(), nullptr)),
        CALL(GetComponentCount(nullptr)),
        CALL(GetKeyWordStream2(nullptr, nullptr)),
        CALL(get_PreviewStreamName(nullptr)),
        CALL(GetPreviewBitmap(nullptr, &picture)),
        CALL(GetPreviewBitmap(&preview, nullptr)),
        CALL(get_PreviewPNGStreamName(nullptr)),
        CALL(GetPreviewPNGBitmap(nullptr, &picture)),
        CALL(GetPreviewPNGBitmap(&preview, nullptr)),
        CALL(GetTableNames(kvDmTableTypeBOM, nullptr)),
        CALL(GetViews(nullptr)),
        CALL(GetSheets(nullptr)),
        CALL(GetCutListItems(nullptr)),
        CALL(GetAllExternalReferences3(nullptr, &a, &b, nullptr)),
    };
    TemporaryFolder folder;
    writeWholeFile(folder / "text.kvdprt", patternBytes(100));
    for (const std::string& path : {corpus("bracket.kvdprt"), folder / "text.kvdprt"}) {
        const auto document = mustOpen(path);
        for (const Call& call : calls)
            EXPECT_EQ(call.run(*document), E_POINTER) << path << ": " << call.name;
        const auto bytes = ask<IKvDMDocument11>(document.get(), IID_IKvDMDocument11);
        EXPECT_EQ(bytes->GetPreviewBitmapBytes(&preview, nullptr), E_POINTER);
        EXPECT_EQ(bytes->GetPreviewPNGBitmapBytes(&preview, nullptr), E_POINTER);
        const auto neutral = ask<ICommonCadDocument>(document.get(), IID_ICommonCadDocument);
        EXPECT_EQ(neutral->GetTags(nullptr), E_POINTER);
        EXPECT_EQ(neutral->GetCustomPropertyNames(nullptr), E_POINTER);
        EXPECT_EQ(neutral->GetCustomProperty(text.get(), nullptr), E_POINTER);
        EXPECT_EQ(neutral->GetAllExternalReferences(nullptr, &a, nullptr), E_POINTER);
    }
}

#undef CALL

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
}

} // namespace
} // namespace kvdm::test
