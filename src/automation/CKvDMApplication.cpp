#include "automation/CKvDMApplication.h"

#include "automation/CKvDMSearchOption.h"
#include "automation/dmConfiguration_c.h"
#include "automation/dmDocument_c.h"
#include "common/automationText.h"
#include "common/statusOfException.h"
#include "platform/files/files.h"
#include "platform/text/casing.h"
#include "storage/headers/dmSerializeContext.h"
#include "storage/lockbytes/CLockBytesOnStream.h"

#include <algorithm>

namespace kvdm {

namespace {

bool isOneOf(std::u16string_view extension, std::initializer_list<std::u16string_view> group)
{
    return std::find(group.begin(), group.end(), extension) != group.end();
}

// Every way to a document ends here: the core's wrapper answered for the interface.
HRESULT handOut(std::unique_ptr<dmDocument_c> core, IKvDMDocument** document)
{
    return dmDocument_c::wrapDocument(std::move(core), document);
}

} // namespace

bool hasDocumentExtension(std::u16string_view path, bool allowPart, bool allowDrawing, bool allowAssembly)
{
    const std::u16string extension = upperText(splitPath(path).extension);
    return (allowAssembly && isOneOf(extension, {u".KVDASM", u".ASM", u".ASMDOT"})) ||
           (allowDrawing && isOneOf(extension, {u".KVDDRW", u".DRW", u".DRWDOT"})) ||
           (allowPart && isOneOf(extension, {u".KVDPRT", u".PRT", u".PRTDOT", u".KVDLFP"}));
}

HRESULT makeApplication(IKvDMApplication** application) noexcept
{
    return automationCall([&] {
        if (!application)
            return E_POINTER;
        *application = nullptr;
        const ComPtr<CKvDMApplication> made = makeObject<CKvDMApplication>();
        return made->QueryInterface(IID_IKvDMApplication, reinterpret_cast<void**>(application));
    });
}

HRESULT CKvDMClassFactory::QueryInterface(REFIID id, void** out) noexcept
{
    return outer ? outer->QueryInterface(id, out) : answerItself(id, out);
}

ULONG CKvDMClassFactory::AddRef() noexcept
{
    return outer ? outer->AddRef() : ErrorInfoObject::AddRef();
}

ULONG CKvDMClassFactory::Release() noexcept
{
    return outer ? outer->Release() : ErrorInfoObject::Release();
}

namespace {

class InnerClassFactory final : public AutomationObject<IUnknown>
{
public:
    explicit InnerClassFactory(IUnknown& outer) : factory(new CKvDMClassFactory(&outer)) {}

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID id, void** out) noexcept override
    {
        return id == IID_IUnknown ? CountedObject::QueryInterface(id, out) : factory->answerItself(id, out);
    }

private:
    ~InnerClassFactory() override { factory->end(); }

    CKvDMClassFactory* factory;
};

} // namespace

ComPtr<IUnknown> makeAggregatedClassFactory(IUnknown& outer)
{
    return ComPtr<IUnknown>::adopt(new InnerClassFactory(outer));
}

HRESULT CKvDMClassFactory::GetApplication(IKvDMApplication** application) noexcept
{
    return makeApplication(application);
}

CKvDMApplication::~CKvDMApplication() = default;

HRESULT CKvDMApplication::GetDocument(BSTR fullPathName, KvDmDocumentType docType, VARIANT_BOOL allowReadOnly, KvDmDocumentOpenError* result,
                                      IKvDMDocument** document) noexcept
{
    return automationCall([&]() -> HRESULT {
        if (!result || !document)
            return E_POINTER;
        *result = kvDmDocumentOpenErrorNone;
        *document = nullptr;
        const std::u16string path(OwnedBstr::viewOf(fullPathName));
        if (!fileAccess(path, 0)) {
            *result = kvDmDocumentOpenErrorFileNotFound;
            return S_OK;
        }
        if (docType == kvDmDocumentUnknown && !hasDocumentExtension(path, true, true, true)) {
            *result = kvDmDocumentOpenErrorNonKV;
            return S_OK;
        }
        std::unique_ptr<dmDocument_c> core = dmDocument_c::openByPath(path, allowReadOnly != VARIANT_FALSE);
        if (!core) {
            *result = kvDmDocumentOpenErrorFail;
            return S_OK;
        }
        return handOut(std::move(core), document);
    });
}

HRESULT CKvDMApplication::CopyDocument(BSTR, BSTR, VARIANT, VARIANT, LONG, IKvDMSearchOption*, LONG* error) noexcept
{
    if (error)
        *error = kvDmMoveCopyErrorFail;
    return S_OK;
}

HRESULT CKvDMApplication::MoveDocument(BSTR, BSTR, VARIANT, VARIANT, LONG, IKvDMSearchOption*, LONG* error) noexcept
{
    if (error)
        *error = kvDmMoveCopyErrorFail;
    return S_OK;
}

HRESULT CKvDMApplication::GetSearchOptionObject(IKvDMSearchOption** option) noexcept
{
    return automationCall([&] {
        if (!option)
            return E_POINTER;
        *option = nullptr;
        const ComPtr<CKvDMSearchOption> made = makeObject<CKvDMSearchOption>();
        return made->QueryInterface(IID_IKvDMSearchOption, reinterpret_cast<void**>(option));
    });
}

HRESULT CKvDMApplication::GetLatestSupportedFileVersion(LONG* version) noexcept
{
    if (!version)
        return E_POINTER;
    *version = dmSerializeContext::presentVersion;
    return S_OK;
}

// The byte array over the stream takes the place of the one before, which lets go of its stream whoever still counts it: a
// client keeps one application object a stream document.
HRESULT CKvDMApplication::iOpenOnStream(IStream& stream, ComPtr<IStorage>& storage) noexcept
{
    return automationCall([&] {
        if (lockBytes)
            lockBytes->destroy();
        lockBytes.reset();
        lockBytes = ComPtr<CLockBytesOnStream>::adopt(new CLockBytesOnStream(stream));
        const HRESULT status = StgOpenStorageOnILockBytes(lockBytes.get(), nullptr, STGM_SHARE_EXCLUSIVE, nullptr, 0, storage.put());
        if (FAILED(status))
            (void)storage.detach();
        return status;
    });
}

// An object that is both is opened as both, and the document on its storage is the one handed out.
HRESULT CKvDMApplication::GetDocument2(IUnknown* documentStream, KvDmDocumentOpenError* result, IKvDMDocument** document) noexcept
{
    return automationCall([&] {
        if (!result || !document)
            return E_POINTER;
        *result = kvDmDocumentOpenErrorFail;
        HRESULT status = S_OK;
        ComPtr<IKvDMDocument> opened;
        const auto openCore = [&](IStorage& storage) {
            std::unique_ptr<dmDocument_c> core = dmDocument_c::openByStorage(storage);
            if (!core)
                return;
            status = handOut(std::move(core), opened.put());
            *result = kvDmDocumentOpenErrorNone;
        };
        if (const ComPtr<IStream> stream = queryAs<IStream>(documentStream)) {
            ComPtr<IStorage> storage;
            status = iOpenOnStream(*stream, storage);
            if (storage)
                openCore(*storage);
        }
        if (const ComPtr<IStorage> storage = queryAs<IStorage>(documentStream))
            openCore(*storage);
        if (opened)
            *document = opened.detach(); // untouched where nothing opened
        return status;
    });
}

} // namespace kvdm
