// Lists the version and the custom properties of documents: the whole road from the class factory to an answer.
//
//   listProperties part.kvdprt assembly.kvdasm
#include <kvdocmgr/kvdocmgr.h>

#include <iostream>
#include <stdexcept>
#include <string>
#include <vector>

using kvdm::ComPtr;
using kvdm::fromUtf8;
using kvdm::OwnedBstr;
using kvdm::OwnedVariant;
using kvdm::toUtf8;

namespace {

void check(HRESULT status, const char* what)
{
    if (FAILED(status))
        throw std::runtime_error(what);
}

// The library makes one class from outside, the factory; everything else comes from objects.
ComPtr<IKvDMApplication> makeApplication()
{
    ComPtr<IKvDMClassFactory> factory;
    check(DllGetClassObject(CLSID_KvDMClassFactory, IID_IKvDMClassFactory, factory.putVoid()), "no class factory");
    ComPtr<IKvDMApplication> application;
    check(factory->GetApplication(application.put()), "no application object");
    return application;
}

// Opens for reading: the flag is true although its name suggests a choice.
ComPtr<IKvDMDocument3> openDocument(IKvDMApplication& application, const std::string& path)
{
    KvDmDocumentOpenError error = kvDmDocumentOpenErrorNone;
    ComPtr<IKvDMDocument> document;
    const OwnedBstr name(fromUtf8(path, kvdm::IllFormed::keep));
    check(application.GetDocument(name.get(), kvDmDocumentUnknown, VARIANT_TRUE, &error, document.put()), "cannot be opened");
    if (error == kvDmDocumentOpenErrorFileNotFound)
        throw std::runtime_error("no such file");
    if (error == kvDmDocumentOpenErrorNonKV)
        throw std::runtime_error("no Kestrovane document");
    if (error != kvDmDocumentOpenErrorNone)
        throw std::runtime_error("cannot be opened");
    ComPtr<IKvDMDocument3> withAllProperties; // each interface of the chain adds slots to the one before
    check(document->QueryInterface(IID_IKvDMDocument3, withAllProperties.putVoid()), "this library is too old");
    return withAllProperties;
}

// An array of strings in a variant, as all lists of names come.
std::vector<std::string> textsOf(const OwnedVariant& variant)
{
    std::vector<std::string> texts;
    SAFEARRAY* array = variant.get().vt == (VT_ARRAY | VT_BSTR) ? variant.get().parray : nullptr;
    BSTR* elements = nullptr;
    LONG first = 0;
    LONG last = -1;
    if (!array || FAILED(SafeArrayGetLBound(array, 1, &first)) || FAILED(SafeArrayGetUBound(array, 1, &last)) ||
        FAILED(SafeArrayAccessData(array, reinterpret_cast<void**>(&elements))))
        return texts;
    for (LONG i = 0; i <= last - first; ++i)
        texts.push_back(toUtf8(OwnedBstr::viewOf(elements[i])));
    SafeArrayUnaccessData(array);
    return texts;
}

void list(IKvDMApplication& application, const std::string& path)
{
    const ComPtr<IKvDMDocument3> document = openDocument(application, path);
    LONG version = -1; // stays as it is when the file cannot be read
    if (FAILED(document->GetVersion(&version)) || version == -1)
        throw std::runtime_error("cannot be read");
    OwnedVariant names, types, linkedTo, values; // four arrays of one length
    check(document->GetAllCustomPropertyNamesAndValues(names.put(), types.put(), linkedTo.put(), values.put()), "no properties can be read");

    std::cout << path << ": version " << version << '\n';
    const std::vector<std::string> nameTexts = textsOf(names);
    const std::vector<std::string> valueTexts = textsOf(values);
    for (std::size_t i = 0; i < nameTexts.size(); ++i)
        std::cout << "  " << nameTexts[i] << " = " << valueTexts.at(i) << '\n';
}

} // namespace

int main(int argc, char** argv)
{
    int failed = 0;
    CoInitialize(nullptr);
    try {
        const ComPtr<IKvDMApplication> application = makeApplication();
        for (int i = 1; i < argc; ++i) {
            try {
                list(*application, argv[i]);
            } catch (const std::exception& problem) {
                std::cerr << argv[i] << ": " << problem.what() << '\n';
                failed = 1;
            }
        }
    } catch (const std::exception& problem) {
        std::cerr << problem.what() << '\n';
        failed = 1;
    }
    CoUninitialize();
    return failed;
}
