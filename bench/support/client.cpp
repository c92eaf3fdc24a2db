#include "support/client.h"

#include <stdexcept>

namespace kvdm::bench {

namespace {

void require(HRESULT status, const char* what)
{
    if (FAILED(status))
        throw std::runtime_error(std::string(what) + " failed");
}

std::size_t countUnits(const VARIANT& variant, std::size_t& elements)
{
    if (variant.vt != (VT_ARRAY | VT_BSTR) || !variant.parray)
        return 0;
    LONG first = 0;
    LONG last = -1;
    SafeArrayGetLBound(variant.parray, 1, &first);
    SafeArrayGetUBound(variant.parray, 1, &last);
    elements = static_cast<std::size_t>(last - first + 1);
    void* data = nullptr;
    if (FAILED(SafeArrayAccessData(variant.parray, &data)))
        return 0;
    std::size_t units = 0;
    for (std::size_t i = 0; i < elements; ++i)
        units += SysStringLen(static_cast<const BSTR*>(data)[i]);
    SafeArrayUnaccessData(variant.parray);
    return units;
}

} // namespace

ComPtr<IKvDMApplication> makeApplication()
{
    ComPtr<IKvDMClassFactory> factory;
    ComPtr<IKvDMApplication> application;
    require(DllGetClassObject(CLSID_KvDMClassFactory, IID_IKvDMClassFactory, factory.putVoid()), "DllGetClassObject");
    require(factory->GetApplication(application.put()), "GetApplication");
    return application;
}

ComPtr<IKvDMDocument12> openDocument(IKvDMApplication& application, const std::string& path, bool readOnly)
{
    const OwnedBstr name(fromUtf8(path, IllFormed::keep));
    KvDmDocumentOpenError error = kvDmDocumentOpenErrorNone;
    ComPtr<IKvDMDocument> document;
    require(application.GetDocument(name.get(), kvDmDocumentUnknown, readOnly ? VARIANT_TRUE : VARIANT_FALSE, &error, document.put()), "GetDocument");
    ComPtr<IKvDMDocument12> chain;
    if (error != kvDmDocumentOpenErrorNone || !document)
        throw std::runtime_error(path + " does not open");
    require(document->QueryInterface(IID_IKvDMDocument12, chain.putVoid()), "QueryInterface");
    return chain;
}

Answers askVersionAndProperties(IKvDMDocument12& document)
{
    Answers answers;
    require(document.GetVersion(&answers.version), "GetVersion");
    OwnedVariant names, types, linkedTo, values;
    require(document.GetAllCustomPropertyNamesAndValues(names.put(), types.put(), linkedTo.put(), values.put()),
            "GetAllCustomPropertyNamesAndValues");
    answers.textUnits += countUnits(names.get(), answers.customProperties);
    answers.textUnits += countUnits(linkedTo.get(), answers.customProperties);
    answers.textUnits += countUnits(values.get(), answers.customProperties);
    return answers;
}

Answers askEverythingInTheVaultsList(IKvDMDocument12& document)
{
    Answers answers = askVersionAndProperties(document);
    for (const auto get : {&IKvDMDocument::get_Title, &IKvDMDocument::get_Subject, &IKvDMDocument::get_Author, &IKvDMDocument::get_Keywords,
                           &IKvDMDocument::get_Comments, &IKvDMDocument::get_LastSavedBy}) {
        OwnedBstr text;
        if (SUCCEEDED((document.*get)(text.put())))
            answers.textUnits += text.view().size();
    }
    OwnedVariant names;
    std::size_t count = 0;
    if (SUCCEEDED(document.GetInvisibleCustomPropertyNames(names.put())))
        answers.textUnits += countUnits(names.get(), count);
    return answers;
}

} // namespace kvdm::bench
