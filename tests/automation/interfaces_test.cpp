// What every object owes a client before it does anything: identity, reach of its interfaces, slots, counts.
#include "automation/automationTools.h"

#include <cstring>

namespace kvdm::test {
namespace {

// The number of a method in its interface, IUnknown's three aside: a pointer to a virtual member holds its offset in the table.
template <class Method> std::size_t slotOf(Method method)
{
    std::size_t parts[2];
    static_assert(sizeof parts == sizeof method);
    std::memcpy(parts, &method, sizeof parts);
    return (parts[0] - 1) / sizeof(void*) - 2;
}

void expectOrder(const std::vector<std::size_t>& slots)
{
    for (std::size_t i = 0; i < slots.size(); ++i)
        EXPECT_EQ(slots[i], i + 1);
}

TEST(Interfaces, SlotsStandInThePublishedOrder)
{
    using D = IKvDMDocument;
    using D10 = IKvDMDocument10;
    expectOrder({slotOf(&D::get_Application), slotOf(&D::get_FullName), slotOf(&D::GetAllExternalReferences), slotOf(&D::WhereUsed),
                 slotOf(&D::get_ConfigurationManager), slotOf(&D::GetLumoviewData), slotOf(&D::ReplaceReference), slotOf(&D::GetLastUpdateStamp),
                 slotOf(&D::AddCustomProperty), slotOf(&D::GetCustomProperty), slotOf(&D::SetCustomProperty), slotOf(&D::DeleteCustomProperty),
                 slotOf(&D::GetCustomPropertyCount), slotOf(&D::GetCustomPropertyNames), slotOf(&D::GetVersion), slotOf(&D::CloseDoc),
                 slotOf(&D::get_Title), slotOf(&D::put_Title), slotOf(&D::get_Subject), slotOf(&D::put_Subject), slotOf(&D::get_Author),
                 slotOf(&D::put_Author), slotOf(&D::get_Keywords), slotOf(&D::put_Keywords), slotOf(&D::get_Comments), slotOf(&D::put_Comments),
                 slotOf(&D::get_LastSavedBy), slotOf(&D::get_CreationDate), slotOf(&D::get_LastSavedDate), slotOf(&D::GetHyperLinksCount),
                 slotOf(&D::GetHyperLinkAt), slotOf(&D::ModifyHyperLinkAt), slotOf(&D::IsDetachedDrawing), slotOf(&D::Save), slotOf(&D::SaveAs),
                 slotOf(&D::get_ToolboxPart), slotOf(&D::put_ToolboxPart), slotOf(&D::GetXmlStream),
                 // the successors, in one chain
                 slotOf(&IKvDMDocument2::AddInvisibleCustomProperty), slotOf(&IKvDMDocument2::GetInvisibleCustomProperty),
                 slotOf(&IKvDMDocument2::SetInvisibleCustomProperty), slotOf(&IKvDMDocument2::DeleteInvisibleCustomProperty),
                 slotOf(&IKvDMDocument2::GetInvisibleCustomPropertyCount), slotOf(&IKvDMDocument2::GetInvisibleCustomPropertyNames),
                 slotOf(&IKvDMDocument3::GetAllCustomPropertyNamesAndValues), slotOf(&IKvDMDocument4::GetSheetCount),
                 slotOf(&IKvDMDocument4::GetActiveSheetName), slotOf(&IKvDMDocument5::GetCustomPropertyValues),
                 slotOf(&IKvDMDocument5::GetLinkedAttachments), slotOf(&IKvDMDocument5::GetAllExternalReferences2),
                 slotOf(&IKvDMDocument6::GetSheetNames), slotOf(&IKvDMDocument7::IsSmartComponentDocument),
                 slotOf(&IKvDMDocument8::GetChangedReferences), slotOf(&IKvDMDocument8::GetKeyWordStream), slotOf(&IKvDMDocument8::GetComponentCount),
                 slotOf(&IKvDMDocument9::GetKeyWordStream2), slotOf(&D10::get_PreviewStreamName), slotOf(&D10::GetPreviewBitmap),
                 slotOf(&D10::get_PreviewPNGStreamName), slotOf(&D10::GetPreviewPNGBitmap), slotOf(&D10::GetTableNames), slotOf(&D10::GetTable),
                 slotOf(&D10::GetViews), slotOf(&D10::GetSheets), slotOf(&D10::GetCutListItems),
                 slotOf(&IKvDMDocument12::GetAllExternalReferences3)});
    using C = ICommonCadDocument;
    expectOrder({slotOf(&C::GetKeyWordStream), slotOf(&C::GetDissectionListStream), slotOf(&C::GetTags), slotOf(&C::GetCustomPropertyNames),
                 slotOf(&C::GetCustomProperty), slotOf(&C::get_ConfigurationManager), slotOf(&C::GetAllExternalReferences),
                 slotOf(&C::SaveKeyWordStream), slotOf(&C::DoDissectionToStore)});
    expectOrder({slotOf(&IKvDMDocument11::GetPreviewPNGBitmapBytes), slotOf(&IKvDMDocument11::GetPreviewBitmapBytes)});
    using M = IKvDMConfigurationMgr;
    expectOrder({slotOf(&M::get_Application), slotOf(&M::get_Document), slotOf(&M::GetConfigurationCount), slotOf(&M::GetConfigurationByName),
                 slotOf(&M::GetConfigurationNames), slotOf(&M::GetActiveConfigurationName)});
    using F = IKvDMConfiguration;
    using F7 = IKvDMConfiguration7;
    expectOrder({slotOf(&F::get_Application),
                 slotOf(&F::get_Document),
                 slotOf(&F::get_Name),
                 slotOf(&F::get_StreamName),
                 slotOf(&F::GetLastUpdateStamp),
                 slotOf(&F::GetMassProperties),
                 slotOf(&F::AddCustomProperty),
                 slotOf(&F::GetCustomProperty),
                 slotOf(&F::SetCustomProperty),
                 slotOf(&F::DeleteCustomProperty),
                 slotOf(&F::GetCustomPropertyCount),
                 slotOf(&F::GetCustomPropertyNames),
                 slotOf(&F::GetPreviewBitmap),
                 slotOf(&F::GetBodiesCount),
                 slotOf(&F::GetBody),
                 slotOf(&F::get_PreviewStreamName),
                 slotOf(&F::get_Description),
                 slotOf(&F::put_Description),
                 slotOf(&F::GetParentConfigurationName),
                 slotOf(&IKvDMConfiguration2::get_PartitionStreamName),
                 slotOf(&IKvDMConfiguration2::GetPartitionStream),
                 slotOf(&IKvDMConfiguration2::GetComponents),
                 slotOf(&IKvDMConfiguration3::GetImportedBodiesCount),
                 slotOf(&IKvDMConfiguration3::GetImportedBody),
                 slotOf(&IKvDMConfiguration4::GetAllCustomPropertyNamesAndValues),
                 slotOf(&IKvDMConfiguration5::get_Comment),
                 slotOf(&IKvDMConfiguration5::get_AlternateName),
                 slotOf(&IKvDMConfiguration5::GetCustomPropertyValues),
                 slotOf(&IKvDMConfiguration6::GetReferencesInformation),
                 slotOf(&F7::get_Name2),
                 slotOf(&F7::put_Name2),
                 slotOf(&F7::get_Comment2),
                 slotOf(&F7::put_Comment2),
                 slotOf(&F7::get_AlternateName2),
                 slotOf(&F7::put_AlternateName2),
                 slotOf(&F7::get_Delete),
                 slotOf(&F7::put_Delete),
                 slotOf(&F7::get_PreviewPNGStreamName),
                 slotOf(&F7::GetPreviewPNGBitmap),
                 slotOf(&IKvDMConfiguration8::GetReferencesInformation2),
                 slotOf(&IKvDMConfiguration9::GetPreviewPNGBitmapBytes),
                 slotOf(&IKvDMConfiguration9::GetPreviewBitmapBytes)});
    using A = IKvDMApplication2;
    expectOrder({slotOf(&A::GetDocument), slotOf(&A::CopyDocument), slotOf(&A::MoveDocument), slotOf(&A::GetSearchOptionObject),
                 slotOf(&A::GetLatestSupportedFileVersion), slotOf(&A::GetDocument2)});
    expectOrder({slotOf(&IKvDMClassFactory::GetApplication)});
    using O = IKvDMSearchOption;
    using N = ICommonCADSearchOption;
    expectOrder({slotOf(&O::AddSearchPath), slotOf(&O::RemoveSearchPath), slotOf(&O::GetAllSearchPaths), slotOf(&O::ClearAllSearchPaths),
                 slotOf(&O::get_SearchFilters), slotOf(&O::put_SearchFilters)});
    expectOrder({slotOf(&N::AddSearchPath), slotOf(&N::RemoveSearchPath), slotOf(&N::GetAllSearchPaths), slotOf(&N::ClearAllSearchPaths),
                 slotOf(&N::get_SearchFilters), slotOf(&N::put_SearchFilters)});
    expectOrder({slotOf(&ICommonCADConfigurationMgr::GetConfigurationCount), slotOf(&ICommonCADConfigurationMgr::GetConfigurationNames)});
    using P = IKvDMComponent5;
    expectOrder({slotOf(&P::get_Name), slotOf(&P::get_ConfigurationName), slotOf(&P::IsHidden), slotOf(&P::IsSuppressed), slotOf(&P::get_Transform),
                 slotOf(&P::get_DocumentType), slotOf(&P::GetDocument), slotOf(&P::get_IsVirtual), slotOf(&P::put_IsVirtual),
                 slotOf(&P::GetDocument2), slotOf(&P::IsEnvelope), slotOf(&P::get_ExcludeFromBOM), slotOf(&P::put_ExcludeFromBOM)});
    using S = IKvDMSheet;
    expectOrder({slotOf(&S::get_Name), slotOf(&S::put_Name), slotOf(&S::GetInvisibleCustomProperty), slotOf(&S::GetInvisibleCustomPropertyCount),
                 slotOf(&S::GetInvisibleCustomPropertyNames)});
    using V = IKvDMView;
    expectOrder({slotOf(&V::get_Name), slotOf(&V::put_Name), slotOf(&V::get_ReferencedDocument), slotOf(&V::put_ReferencedDocument),
                 slotOf(&V::get_ReferencedConfiguration), slotOf(&V::put_ReferencedConfiguration), slotOf(&V::get_SheetName),
                 slotOf(&V::put_SheetName), slotOf(&V::get_Sheet), slotOf(&V::put_Sheet)});
    using L = IKvDMCutListItem;
    expectOrder({slotOf(&L::get_Name), slotOf(&L::put_Name), slotOf(&L::GetCustomPropertyNames), slotOf(&L::GetCustomPropertyValue),
                 slotOf(&L::get_Quantity), slotOf(&L::put_Quantity)});
    using T = IKvDMTable;
    expectOrder({slotOf(&T::get_Name), slotOf(&T::AddRowTail), slotOf(&T::AddRowHead), slotOf(&T::AddColumnLeft), slotOf(&T::AddColumnRight),
                 slotOf(&T::IsTitleVisible), slotOf(&T::GetColumnCount), slotOf(&T::GetRowCount), slotOf(&T::GetColumnType), slotOf(&T::DeleteRow),
                 slotOf(&T::DeleteColumn), slotOf(&T::GetHeaderStyle), slotOf(&T::GetCellText), slotOf(&T::SetCellText),
                 slotOf(&T::GetComponentRep)});
    // behind the four of IDispatch
    EXPECT_EQ(slotOf(&IKvPicture::get_Width), 5u);
    EXPECT_EQ(slotOf(&IKvPicture::get_Height), 6u);
    EXPECT_EQ(slotOf(&IKvPicture::get_Handle), 7u);
    EXPECT_EQ(slotOf(&IKvPicture::Encode), 8u);
}

struct Reach
{
    const char* name;
    std::function<ComPtr<IUnknown>()> make;
    std::vector<IID> reached; // the object's list, ISupportErrorInfo and IUnknown aside
};

std::vector<Reach> objects()
{
    const auto asUnknown = [](auto object) { return ComPtr<IUnknown>::share(object.get()); };
    const auto manager = [] {
        ComPtr<IKvDMConfigurationMgr> result;
        EXPECT_EQ(mustOpen(corpus("bracket.kvdprt"))->get_ConfigurationManager(result.put()), S_OK);
        return result;
    };
    return {
        {"class factory",
         [=] {
             ComPtr<IKvDMClassFactory> factory;
             EXPECT_EQ(DllGetClassObject(CLSID_KvDMClassFactory, IID_IKvDMClassFactory, factory.putVoid()), S_OK);
             return asUnknown(factory);
         },
         {IID_IKvDMClassFactory}},
        {"application", [=] { return asUnknown(newApplication()); }, {IID_IKvDMApplication2, IID_IKvDMApplication}},
        {"document",
         [=] { return asUnknown(mustOpen(corpus("bracket.kvdprt"))); },
         {IID_ICommonCadDocument, IID_IKvDMDocument11, IID_IKvDMDocument12, IID_IKvDMDocument10, IID_IKvDMDocument9, IID_IKvDMDocument8,
          IID_IKvDMDocument7, IID_IKvDMDocument6, IID_IKvDMDocument5, IID_IKvDMDocument4, IID_IKvDMDocument3, IID_IKvDMDocument2, IID_IKvDMDocument}},
        {"configuration manager", [=] { return asUnknown(manager()); }, {IID_IKvDMConfigurationMgr}},
        {"configuration",
         [=] {
             ComPtr<IKvDMConfiguration> configuration;
             EXPECT_EQ(manager()->GetConfigurationByName(OwnedBstr(u"Default").get(), configuration.put()), S_OK);
             return asUnknown(configuration);
         },
         {IID_IKvDMConfiguration, IID_IKvDMConfiguration2, IID_IKvDMConfiguration3, IID_IKvDMConfiguration4, IID_IKvDMConfiguration5,
          IID_IKvDMConfiguration6, IID_IKvDMConfiguration7, IID_IKvDMConfiguration8, IID_IKvDMConfiguration9}},
        {"search option",
         [=] {
             ComPtr<IKvDMSearchOption> option;
             EXPECT_EQ(newApplication()->GetSearchOptionObject(option.put()), S_OK);
             return asUnknown(option);
         },
         {IID_ICommonCADSearchOption, IID_IKvDMSearchOption}},
    };
}

TEST(Interfaces, EveryObjectReachesItsListAndKeepsItsIdentity)
{
    constexpr IID foreign[] = {IID_IKvDMTable, IID_IStream, IID_ICommonCADConfigurationMgr, GUID_NULL};
    for (const Reach& object : objects()) {
        SCOPED_TRACE(object.name);
        const ComPtr<IUnknown> made = object.make();
        const auto identity = ask<IUnknown>(made.get(), IID_IUnknown);
        std::vector<IID> reached = object.reached;
        reached.push_back(IID_ISupportErrorInfo);
        for (const IID& id : reached) {
            const auto face = ask<IUnknown>(made.get(), id);
            EXPECT_EQ(ask<IUnknown>(face.get(), IID_IUnknown).get(), identity.get());
            for (const IID& other : reached) // from every face to every other one
                EXPECT_TRUE(ask<IUnknown>(face.get(), other));
        }
        for (const IID& id : foreign) {
            void* out = made.get();
            EXPECT_EQ(made->QueryInterface(id, &out), E_NOINTERFACE);
            EXPECT_EQ(out, nullptr);
        }
        EXPECT_EQ(made->QueryInterface(IID_IUnknown, nullptr), E_POINTER);

        const auto errorInfo = ask<ISupportErrorInfo>(made.get(), IID_ISupportErrorInfo);
        for (const IID& id : object.reached)
            EXPECT_EQ(errorInfo->InterfaceSupportsErrorInfo(id), S_OK);
        for (const IID& id : foreign)
            EXPECT_EQ(errorInfo->InterfaceSupportsErrorInfo(id), S_FALSE);
        EXPECT_EQ(errorInfo->InterfaceSupportsErrorInfo(IID_IUnknown), S_FALSE);
    }
}

TEST(Module, GivesOneClassAndUnloadsWhenNothingLives)
{
    ASSERT_EQ(DllCanUnloadNow(), S_OK);
    void* out = &out;
    EXPECT_EQ(DllGetClassObject(CLSID_KvDMDocument, IID_IClassFactory, &out), CLASS_E_CLASSNOTAVAILABLE);
    EXPECT_EQ(out, nullptr);
    EXPECT_EQ(DllGetClassObject(CLSID_KvDMClassFactory, IID_IStream, &out), E_NOINTERFACE);
    EXPECT_EQ(DllGetClassObject(CLSID_KvDMClassFactory, IID_IClassFactory, nullptr), E_POINTER);
    EXPECT_EQ(DllCanUnloadNow(), S_OK);

    ComPtr<IClassFactory> classObject;
    ASSERT_EQ(DllGetClassObject(CLSID_KvDMClassFactory, IID_IClassFactory, classObject.putVoid()), S_OK);
    EXPECT_EQ(classObject->LockServer(1), S_OK);
    classObject.reset();
    EXPECT_EQ(DllCanUnloadNow(), S_FALSE) << "a lock is held";
    ASSERT_EQ(DllGetClassObject(CLSID_KvDMClassFactory, IID_IClassFactory, classObject.putVoid()), S_OK);
    EXPECT_EQ(classObject->LockServer(0), S_OK);
    classObject.reset();
    EXPECT_EQ(DllCanUnloadNow(), S_OK);
    for (const Reach& object : objects()) {
        ComPtr<IUnknown> made = object.make();
        EXPECT_EQ(DllCanUnloadNow(), S_FALSE) << object.name;
        made.reset();
        EXPECT_EQ(DllCanUnloadNow(), S_OK) << object.name;
    }
    EXPECT_EQ(DllRegisterServer(), S_OK);
    EXPECT_EQ(DllUnregisterServer(), S_OK);
}

// An object that has the class factory inside itself and shows it as its own.
class Outer final : public IUnknown
{
public:
    virtual ~Outer() = default;
    HRESULT QueryInterface(REFIID id, void** out) override
    {
        if (id != IID_IUnknown)
            return inner->QueryInterface(id, out);
        *out = this;
        AddRef();
        return S_OK;
    }
    ULONG AddRef() override { return ++references; }
    ULONG Release() override { return --references; }

    ComPtr<IUnknown> inner;
    ULONG references = 1;
};

TEST(Module, TheClassFactoryCanBePartOfAnotherObject)
{
    Outer outer;
    ComPtr<IClassFactory> classObject;
    ASSERT_EQ(DllGetClassObject(CLSID_KvDMClassFactory, IID_IClassFactory, classObject.putVoid()), S_OK);
    void* refused = &outer;
    EXPECT_EQ(classObject->CreateInstance(&outer, IID_IKvDMClassFactory, &refused), CLASS_E_NOAGGREGATION);
    EXPECT_EQ(refused, nullptr);
    ASSERT_EQ(classObject->CreateInstance(&outer, IID_IUnknown, outer.inner.putVoid()), S_OK);
    {
        const auto factory = ask<IKvDMClassFactory>(&outer, IID_IKvDMClassFactory);
        EXPECT_EQ(outer.references, 2u) << "the face counts on the outer object";
        EXPECT_EQ(ask<IUnknown>(factory.get(), IID_IUnknown).get(), &outer);
        EXPECT_NE(outer.inner.get(), &outer);
        ComPtr<IKvDMApplication> application;
        EXPECT_EQ(factory->GetApplication(application.put()), S_OK);
    }
    EXPECT_EQ(outer.references, 1u);
    outer.inner.reset();
    classObject.reset();
    EXPECT_EQ(DllCanUnloadNow(), S_OK);
}

TEST(Interfaces, EveryApplicationPropertyMakesANewApplication)
{
    const auto document = mustOpen(corpus("bracket.kvdprt"));
    ComPtr<IKvDMApplication> first;
    ComPtr<IKvDMApplication> second;
    EXPECT_EQ(document->get_Application(first.put()), S_OK);
    EXPECT_EQ(document->get_Application(second.put()), S_OK);
    EXPECT_NE(first.get(), second.get());
    EXPECT_EQ(valueFrom(*first, &IKvDMApplication::GetLatestSupportedFileVersion, LONG{0}), 3800);
}

} // namespace
} // namespace kvdm::test
