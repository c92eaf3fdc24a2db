#include "client.h"

#include "files.h"

#include <fmt/format.h>

#include <cerrno>
#include <cstring>
#include <fstream>
#include <system_error>

namespace kvdm::tool {

namespace {

template <class Interface> ComPtr<Interface> queryFor(IUnknown& object, const IID& id)
{
    ComPtr<Interface> result;
    if (FAILED(object.QueryInterface(id, result.putVoid())))
        throw Failure("the library does not answer for an interface that it publishes");
    return result;
}

template <class Element, class Add> void eachElement(const VARIANT& variant, VARTYPE type, Add&& add)
{
    if (variant.vt != (VT_ARRAY | type) || !variant.parray)
        return;
    LONG first = 0;
    LONG last = -1;
    SafeArrayGetLBound(variant.parray, 1, &first);
    SafeArrayGetUBound(variant.parray, 1, &last);
    void* data = nullptr;
    if (FAILED(SafeArrayAccessData(variant.parray, &data)))
        return;
    for (LONG i = 0; i <= last - first; ++i)
        add(static_cast<const Element*>(data)[i]);
    SafeArrayUnaccessData(variant.parray);
}

// The system's own word for why a file cannot be read, or empty.
std::string whyUnreadable(const std::string& path)
{
    std::error_code failure;
    errno = 0;
    std::ifstream file(path, std::ios::binary);
    if (!file)
        return errno ? std::strerror(errno) : "cannot be opened";
    file.peek();
    return file.bad() ? (errno ? std::strerror(errno) : "cannot be read") : "";
}

} // namespace

ComPtr<IKvDMApplication> makeApplication()
{
    ComPtr<IKvDMClassFactory> factory;
    ComPtr<IKvDMApplication> application;
    HRESULT status = DllGetClassObject(CLSID_KvDMClassFactory, IID_IKvDMClassFactory, factory.putVoid());
    if (SUCCEEDED(status))
        status = factory->GetApplication(application.put());
    if (FAILED(status))
        throw Failure("the library cannot be started: " + statusText(status));
    return application;
}

Document::Document(const std::string& nativePath, bool readOnly) : path(nativePath)
{
    const ComPtr<IKvDMApplication> application = makeApplication();
    const OwnedBstr name(fromUtf8(nativePath, IllFormed::keep));
    ComPtr<IKvDMDocument> document;
    openStatus = application->GetDocument(name.get(), kvDmDocumentUnknown, readOnly ? VARIANT_TRUE : VARIANT_FALSE, &openError, document.put());
    if (FAILED(openStatus) || !document) {
        if (openError == kvDmDocumentOpenErrorNone)
            openError = kvDmDocumentOpenErrorFail;
        return;
    }
    chain = queryFor<IKvDMDocument12>(*document, IID_IKvDMDocument12);
}

void Document::requireReadable() const
{
    if (openError == kvDmDocumentOpenErrorNonKV && whyNoFile(path).empty())
        throw Failure(path + ": not a Kestrovane document (its extension says so)");
    if (openError == kvDmDocumentOpenErrorFileNotFound || openError == kvDmDocumentOpenErrorNonKV)
        throw openingFailure(path, STG_E_FILENOTFOUND);
    if (!chain)
        throw openingFailure(path, openStatus);
    LONG version = 0;
    LONG unread = -1;
    chain->GetVersion(&unread);
    if (unread != -1 || (chain->GetVersion(&version), version != 0))
        return;
    if (const std::string reason = whyUnreadable(path); !reason.empty())
        throw Failure(path + ": " + reason);
    const HRESULT kind = StgIsStorageFile(OwnedBstr(fromUtf8(path, IllFormed::keep)).get());
    throw Failure(path + (kind == S_OK ? ": damaged, or newer than this library reads" : ": not a compound file"));
}

Failure openingFailure(const std::string& path, HRESULT status)
{
    // A path that only the library maps is nothing to the system.
    const std::string reason = whyNoFile(path);
    const std::string missing = statusText(STG_E_FILENOTFOUND);
    if (!reason.empty() && (reason != missing || statusText(status) == missing))
        return Failure(path + ": " + reason);
    return Failure(path + (statusText(status) == missing ? ": " : ": cannot be opened: ") + statusText(status));
}

std::optional<std::u16string> Document::text(HRESULT (IKvDMDocument::*get)(BSTR*)) const
{
    OwnedBstr value;
    if (FAILED((chain.get()->*get)(value.put())))
        return std::nullopt;
    return std::u16string(value.view());
}

namespace {

template <class Owner> std::vector<Property> allProperties(Owner& owner)
{
    OwnedVariant names, types, linkedTo, values;
    std::vector<Property> all;
    if (FAILED(owner.GetAllCustomPropertyNamesAndValues(names.put(), types.put(), linkedTo.put(), values.put())))
        return all;
    const auto nameTexts = texts(names.get());
    const auto typeNumbers = numbers(types.get());
    const auto linkTexts = texts(linkedTo.get());
    const auto valueTexts = texts(values.get());
    for (std::size_t i = 0; i < nameTexts.size(); ++i)
        all.push_back({nameTexts[i], typeNumbers.at(i), linkTexts.at(i), valueTexts.at(i)});
    return all;
}

} // namespace

std::vector<Property> customProperties(IKvDMDocument12& document)
{
    return allProperties(document);
}

std::vector<Property> customProperties(IKvDMConfiguration9& configuration)
{
    return allProperties(configuration);
}

std::vector<ComPtr<IKvDMConfiguration9>> configurations(IKvDMConfigurationMgr& manager)
{
    std::vector<ComPtr<IKvDMConfiguration9>> found;
    OwnedVariant names;
    if (FAILED(manager.GetConfigurationNames(names.put())))
        return found;
    for (const std::u16string& name : texts(names.get())) {
        ComPtr<IKvDMConfiguration> configuration;
        if (SUCCEEDED(manager.GetConfigurationByName(OwnedBstr(name).get(), configuration.put())))
            found.push_back(queryFor<IKvDMConfiguration9>(*configuration, IID_IKvDMConfiguration9));
    }
    return found;
}

std::vector<Property> invisibleProperties(IKvDMDocument12& document)
{
    OwnedVariant names;
    std::vector<Property> all;
    if (FAILED(document.GetInvisibleCustomPropertyNames(names.put())))
        return all;
    for (std::u16string& name : texts(names.get())) {
        KvDmCustomInfoType type = kvDmCustomInfoUnknown;
        OwnedBstr value;
        document.GetInvisibleCustomProperty(OwnedBstr(name).get(), &type, value.put());
        all.push_back({std::move(name), type, {}, std::u16string(value.view())});
    }
    return all;
}

ComPtr<IKvDMConfigurationMgr> Document::configurationManager() const
{
    ComPtr<IKvDMConfigurationMgr> manager;
    const HRESULT status = chain->get_ConfigurationManager(manager.put());
    if (FAILED(status) || !manager)
        throw Failure(path + ": its configurations cannot be read: " + statusText(status));
    return manager;
}

ComPtr<IKvDMConfiguration9> Document::configuration(const std::string& name) const
{
    ComPtr<IKvDMConfiguration> found;
    if (FAILED(configurationManager()->GetConfigurationByName(OwnedBstr(fromUtf8(name)).get(), found.put())))
        throw Failure(path + ": no configuration \"" + name + "\"");
    return queryFor<IKvDMConfiguration9>(*found, IID_IKvDMConfiguration9);
}

std::vector<std::u16string> Document::hyperLinks() const
{
    LONG count = 0;
    std::vector<std::u16string> links;
    if (FAILED(chain->GetHyperLinksCount(&count)))
        return links;
    for (LONG i = 0; i < count; ++i) {
        OwnedBstr link;
        chain->GetHyperLinkAt(i, link.put());
        links.emplace_back(link.view());
    }
    return links;
}

std::vector<std::u16string> texts(const VARIANT& variant)
{
    std::vector<std::u16string> result;
    eachElement<BSTR>(variant, VT_BSTR, [&](BSTR text) { result.emplace_back(OwnedBstr::viewOf(text)); });
    return result;
}

std::vector<LONG> numbers(const VARIANT& variant)
{
    std::vector<LONG> result;
    eachElement<LONG>(variant, VT_I4, [&](LONG number) { result.push_back(number); });
    return result;
}

std::vector<double> reals(const VARIANT& variant)
{
    std::vector<double> result;
    eachElement<double>(variant, VT_R8, [&](double number) { result.push_back(number); });
    return result;
}

std::string typeName(LONG type)
{
    switch (type) {
    case kvDmCustomInfoText:
        return "text";
    case kvDmCustomInfoDate:
        return "date";
    case kvDmCustomInfoNumber:
        return "number";
    case kvDmCustomInfoYesOrNo:
        return "yes-no";
    default:
        return fmt::format("type {}", type);
    }
}

namespace {

// The status that carries an error number of the system.
constexpr HRESULT systemStatus(std::uint32_t error)
{
    return kvHresult(0x80070000u | error);
}

} // namespace

std::string statusText(HRESULT status)
{
    switch (status) {
    case STG_E_SHAREVIOLATION:
    case STG_E_LOCKVIOLATION:
    case systemStatus(32): // sharing violation
    case systemStatus(33): // lock violation
        return "in use by another program";
    case STG_E_ACCESSDENIED:
    case E_ACCESSDENIED:
        return "access denied";
    case E_OUTOFMEMORY:
    case STG_E_INSUFFICIENTMEMORY:
        return "out of memory";
    case STG_E_FILENOTFOUND:
    case STG_E_PATHNOTFOUND:
    case systemStatus(2):
    case systemStatus(3):
        return "no such file";
    case STG_E_INVALIDHEADER:
        return "the header is not one of a compound file";
    case STG_E_FILEALREADYEXISTS: // the status of a file of another kind
    case STG_E_OLDFORMAT:
        return "not a compound file";
    case STG_E_DOCFILECORRUPT:
        return "damaged";
    case STG_E_DOCFILETOOLARGE:
        return "larger than a compound file can be";
    case STG_E_INVALIDNAME:
        return "not a name for a file";
    case STG_E_TOOMANYOPENFILES:
    case systemStatus(4):
        return "too many open files";
    case STG_E_SEEKERROR:
    case STG_E_READFAULT:
    case systemStatus(30):
        return "cannot be read";
    case STG_E_WRITEFAULT:
    case STG_E_CANTSAVE:
    case systemStatus(29):
        return "cannot be written";
    case STG_E_INUSE:
    case STG_E_NOTCURRENT:
        return "changed by another program meanwhile";
    case STG_E_MEDIUMFULL:
    case systemStatus(112):
        return "the disk is full";
    default:
        return fmt::format("status 0x{:08X}", static_cast<std::uint32_t>(status));
    }
}

} // namespace kvdm::tool
