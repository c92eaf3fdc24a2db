// A whole document of arbitrary bytes, as a client meets it: opened on a stream and on a path, asked everything, edited, saved, asked again.
//
// Two openings give the same answers. A save that succeeds holds the edits; one that fails leaves a document that answers as before.
#include "support/ForeignObjects.h"

#include <kvdocmgr/kvdocmgr.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <initializer_list>
#include <string>
#include <type_traits>

#include <unistd.h>

namespace {

using namespace kvdm;

void demand(bool good, const char* what)
{
    if (good)
        return;
    std::fprintf(stderr, "%s\n", what);
    std::abort();
}

// What a document answered, so that two openings can be compared.
class Answers
{
public:
    bool operator==(const Answers&) const = default;

    void add(BSTR text) { told.append(OwnedBstr::viewOf(text)).push_back(u'\n'); }
    void add(const VARIANT& value)
    {
        add(static_cast<LONG>(value.vt));
        if ((value.vt & VT_ARRAY) == 0 || !value.parray)
            return;
        const SAFEARRAY& array = *value.parray;
        for (ULONG i = 0; i < array.rgsabound[0].cElements; ++i)
            switch (value.vt & ~VT_ARRAY) {
            case VT_BSTR:
                add(static_cast<BSTR*>(array.pvData)[i]);
                break;
            case VT_I4:
                add(static_cast<LONG*>(array.pvData)[i]);
                break;
            case VT_UI1:
                told.push_back(static_cast<unsigned char*>(array.pvData)[i]);
                break;
            default:
                add(static_cast<LONG>(i));
            }
    }
    template <class Number> std::enable_if_t<std::is_arithmetic_v<Number> || std::is_enum_v<Number>> add(Number number)
    {
        const std::string digits = std::to_string(number);
        told.append(digits.begin(), digits.end()).push_back(u'\n');
    }

    // Calls a method whose outputs are the named ones; the inputs come first.
    template <class Object, class Method, class... In> void text(Object& object, Method method, In... in)
    {
        OwnedBstr out;
        add((object.*method)(in..., out.put()));
        add(out.get());
    }
    template <class Object, class Method, class... In> void list(Object& object, Method method, In... in)
    {
        OwnedVariant out;
        add((object.*method)(in..., out.put()));
        add(out.get());
    }
    template <class Number, class Object, class Method, class... In> Number number(Object& object, Method method, In... in)
    {
        Number out{};
        add((object.*method)(in..., &out));
        add(out);
        return out;
    }
    template <class Error, class Object, class Method> void outcomeAndList(Object& object, Method method)
    {
        OwnedVariant out;
        Error error{};
        add((object.*method)(&error, out.put()));
        add(error);
        add(out.get());
    }
    template <class Object, class Method> void picture(Object& object, Method method)
    {
        ComPtr<IDispatch> out;
        KvDmPreviewError error{};
        add((object.*method)(&error, out.put()));
        add(error);
    }
    template <class Object, class Method> void properties(Object& object, Method method)
    {
        OwnedVariant names, types, links, values;
        add((object.*method)(names.put(), types.put(), links.put(), values.put()));
        for (const OwnedVariant* value : {&names, &types, &links, &values})
            add(value->get());
    }

private:
    std::u16string told;
};

std::filesystem::path folder()
{
    static const std::filesystem::path made = [] {
        const auto path = std::filesystem::temp_directory_path() / ("kvdmDocumentFuzzer" + std::to_string(getpid()));
        std::filesystem::create_directories(path);
        return path;
    }();
    return made;
}

OwnedBstr pathText(const char* name)
{
    return OwnedBstr(fromUtf8((folder() / name).string()));
}

void askConfiguration(Answers& answers, IKvDMConfiguration9& configuration)
{
    answers.text(configuration, &IKvDMConfiguration9::get_Name);
    answers.text(configuration, &IKvDMConfiguration9::get_Name2);
    answers.text(configuration, &IKvDMConfiguration9::get_StreamName);
    answers.text(configuration, &IKvDMConfiguration9::get_Description);
    answers.text(configuration, &IKvDMConfiguration9::get_Comment2);
    answers.text(configuration, &IKvDMConfiguration9::get_AlternateName2);
    answers.text(configuration, &IKvDMConfiguration9::GetParentConfigurationName);
    answers.number<LONG>(configuration, &IKvDMConfiguration9::GetLastUpdateStamp);
    answers.number<VARIANT_BOOL>(configuration, &IKvDMConfiguration9::get_Delete);
    answers.properties(configuration, &IKvDMConfiguration9::GetAllCustomPropertyNamesAndValues);
    answers.outcomeAndList<KvDmMassPropError>(configuration, &IKvDMConfiguration9::GetMassProperties);
    answers.outcomeAndList<KvDmPreviewError>(configuration, &IKvDMConfiguration9::GetPreviewBitmapBytes);
    answers.outcomeAndList<KvDmPreviewError>(configuration, &IKvDMConfiguration9::GetPreviewPNGBitmapBytes);
    const OwnedBstr body = pathText("body");
    if (answers.number<LONG>(configuration, &IKvDMConfiguration9::GetBodiesCount) > 0)
        answers.number<KvDmBodyError>(configuration, &IKvDMConfiguration9::GetBody, LONG{0}, body.get());
    if (answers.number<LONG>(configuration, &IKvDMConfiguration9::GetImportedBodiesCount) > 0)
        answers.number<KvDmBodyError>(configuration, &IKvDMConfiguration9::GetImportedBody, LONG{0}, body.get());
    answers.number<KvDmBodyError>(configuration, &IKvDMConfiguration9::GetPartitionStream, body.get());
}

// The first few configurations that the document lists.
template <class Visit> void visitConfigurations(IKvDMDocument12& document, Answers& answers, Visit&& visit)
{
    ComPtr<IKvDMConfigurationMgr> manager;
    answers.add(document.get_ConfigurationManager(manager.put()));
    if (!manager)
        return;
    answers.number<LONG>(*manager, &IKvDMConfigurationMgr::GetConfigurationCount);
    answers.text(*manager, &IKvDMConfigurationMgr::GetActiveConfigurationName);
    OwnedVariant names;
    answers.add(manager->GetConfigurationNames(names.put()));
    answers.add(names.get());
    if (names.get().vt != (VT_ARRAY | VT_BSTR))
        return;
    for (ULONG i = 0; i < names.get().parray->rgsabound[0].cElements && i < 4; ++i) {
        ComPtr<IKvDMConfiguration> plain;
        ComPtr<IKvDMConfiguration9> configuration;
        answers.add(manager->GetConfigurationByName(static_cast<BSTR*>(names.get().parray->pvData)[i], plain.put()));
        if (plain && plain->QueryInterface(IID_IKvDMConfiguration9, configuration.putVoid()) == S_OK)
            visit(*configuration);
    }
}

Answers askEverything(IKvDMDocument12& document)
{
    Answers answers;
    answers.number<LONG>(document, &IKvDMDocument12::GetVersion);
    answers.number<LONG>(document, &IKvDMDocument12::GetLastUpdateStamp);
    using TextGetter = HRESULT (STDMETHODCALLTYPE IKvDMDocument12::*)(BSTR*);
    for (const TextGetter getter : std::initializer_list<TextGetter>{
             &IKvDMDocument12::get_Title, &IKvDMDocument12::get_Subject, &IKvDMDocument12::get_Author, &IKvDMDocument12::get_Keywords,
             &IKvDMDocument12::get_Comments, &IKvDMDocument12::get_LastSavedBy, &IKvDMDocument12::get_CreationDate,
             &IKvDMDocument12::get_LastSavedDate, &IKvDMDocument12::get_PreviewStreamName, &IKvDMDocument12::GetActiveSheetName})
        answers.text(document, getter);
    answers.number<VARIANT_BOOL>(document, &IKvDMDocument12::IsDetachedDrawing);
    answers.number<VARIANT_BOOL>(document, &IKvDMDocument12::IsSmartComponentDocument);
    answers.number<KvDmToolboxPartType>(document, &IKvDMDocument12::get_ToolboxPart);
    answers.number<LONG>(document, &IKvDMDocument12::GetSheetCount);
    answers.list(document, &IKvDMDocument12::GetSheetNames);
    answers.list(document, &IKvDMDocument12::GetLinkedAttachments);
    answers.list(document, &IKvDMDocument12::GetInvisibleCustomPropertyNames);
    answers.properties(document, &IKvDMDocument12::GetAllCustomPropertyNamesAndValues);
    const LONG links = answers.number<LONG>(document, &IKvDMDocument12::GetHyperLinksCount);
    for (LONG i = 0; i < links && i < 4; ++i)
        answers.text(document, &IKvDMDocument12::GetHyperLinkAt, i);
    answers.picture(document, &IKvDMDocument12::GetPreviewBitmap);
    answers.picture(document, &IKvDMDocument12::GetPreviewPNGBitmap);
    ComPtr<IKvDMDocument11> bytes;
    if (document.QueryInterface(IID_IKvDMDocument11, bytes.putVoid()) == S_OK)
        answers.outcomeAndList<KvDmPreviewError>(*bytes, &IKvDMDocument11::GetPreviewBitmapBytes);
    visitConfigurations(document, answers, [&](IKvDMConfiguration9& configuration) { askConfiguration(answers, configuration); });
    return answers;
}

ComPtr<IKvDMApplication2> newApplication()
{
    ComPtr<IKvDMClassFactory> factory;
    ComPtr<IKvDMApplication> application;
    ComPtr<IKvDMApplication2> result;
    DllGetClassObject(CLSID_KvDMClassFactory, IID_IKvDMClassFactory, factory.putVoid());
    demand(factory && factory->GetApplication(application.put()) == S_OK, "there is no application object");
    demand(application->QueryInterface(IID_IKvDMApplication2, result.putVoid()) == S_OK, "the application is not complete");
    return result;
}

ComPtr<IKvDMDocument12> newest(const ComPtr<IKvDMDocument>& document)
{
    ComPtr<IKvDMDocument12> result;
    if (document)
        document->QueryInterface(IID_IKvDMDocument12, result.putVoid());
    return result;
}

ComPtr<IKvDMDocument12> open(const char* name, KvDmDocumentType type, bool readOnly)
{
    KvDmDocumentOpenError error{};
    ComPtr<IKvDMDocument> document;
    newApplication()->GetDocument(pathText(name).get(), type, readOnly ? VARIANT_TRUE : VARIANT_FALSE, &error, document.put());
    return newest(document);
}

void askOnStream(const test::Bytes& bytes)
{
    test::ForeignPlan plan;
    KvDmDocumentOpenError error{};
    ComPtr<IKvDMDocument> document;
    const ComPtr<IStream> stream = test::ForeignStream::over(bytes, plan);
    const ComPtr<IKvDMApplication2> application = newApplication();
    application->GetDocument2(stream.get(), &error, document.put());
    if (const ComPtr<IKvDMDocument12> whole = newest(document))
        askEverything(*whole);
}

struct Edited
{
    bool property, title;
};

// Edits of every kind; tells which of those that can be asked for again were taken.
Edited edit(IKvDMDocument12& document)
{
    VARIANT_BOOL added = VARIANT_FALSE, deleted = VARIANT_FALSE;
    document.AddCustomProperty(OwnedBstr(u"fuzzed").get(), kvDmCustomInfoText, OwnedBstr(u"value").get(), &added);
    OwnedVariant names;
    if (document.GetCustomPropertyNames(names.put()) == S_OK && names.get().vt == (VT_ARRAY | VT_BSTR) &&
        names.get().parray->rgsabound[0].cElements > 1)
        document.DeleteCustomProperty(*static_cast<BSTR*>(names.get().parray->pvData), &deleted);
    const bool titled = document.put_Title(OwnedBstr(u"title").get()) == S_OK; // not in a code page that nobody knows
    document.put_ToolboxPart(kvDmToolboxCopiedPart);
    document.ModifyHyperLinkAt(0, OwnedBstr(u"https://example.org").get());
    Answers ignored;
    int turn = 0;
    visitConfigurations(document, ignored, [&](IKvDMConfiguration9& configuration) {
        VARIANT_BOOL own = VARIANT_FALSE;
        configuration.AddCustomProperty(OwnedBstr(u"own").get(), kvDmCustomInfoNumber, OwnedBstr(u"12").get(), &own);
        configuration.put_Description(OwnedBstr(u"described").get());
        if (turn == 1)
            configuration.put_Name2(OwnedBstr(u"renamed").get());
        if (turn++ == 2)
            configuration.put_Delete(VARIANT_TRUE);
    });
    return {added == VARIANT_TRUE, titled};
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size > 1 << 18)
        return 0;
    constexpr KvDmDocumentType types[] = {kvDmDocumentPart, kvDmDocumentAssembly, kvDmDocumentDrawing};
    const KvDmDocumentType type = types[size % 3];
    const test::Bytes bytes(data, data + size);
    askOnStream(bytes);
    std::ofstream(folder() / "document", std::ios::binary).write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(size));

    ComPtr<IKvDMDocument12> document = open("document", type, true);
    if (!document)
        return 0;
    const Answers before = askEverything(*document);
    document.reset();
    document = open("document", type, false);
    if (!document)
        return 0;
    demand(askEverything(*document) == before, "a second opening answers otherwise");
    LONG version = 0;
    if (document->GetVersion(&version) != S_OK || version == 0)
        return 0; // a marker that nobody could read may become readable when there are more elements
    const Edited edited = edit(*document);
    KvDmDocumentSaveError error{};
    const HRESULT status = document->Save(&error);
    document.reset();
    document = open("document", type, true);
    demand(static_cast<bool>(document), "the document does not open after the save");
    if (FAILED(status) || error != kvDmDocumentSaveErrorNone) {
        demand(askEverything(*document) == before, "a save that failed left its traces");
        return 0;
    }
    KvDmCustomInfoType kind{};
    OwnedBstr value, title;
    document->GetCustomProperty(OwnedBstr(u"fuzzed").get(), &kind, value.put());
    document->get_Title(title.put());
    demand(!edited.property || value.view() == u"value", "an added property is not what was written");
    demand(!edited.title || title.view() == u"title", "the title is not what was written");
    const Answers saved = askEverything(*document);
    document.reset();
    document = open("document", type, false);
    demand(document && SUCCEEDED(document->SaveAs(pathText("copy").get(), &error)), "a saved document is not saved again");
    document.reset();
    document = open("document", type, true);
    demand(document && askEverything(*document) == saved, "saving under another name changed the document");
    return 0;
}
