// The front door: the one creatable class, and the application object that opens documents.
#pragma once

#include "automation/module.h"

#include <kvdocmgr/kvdocmgr.h>

namespace kvdm {

class CLockBytesOnStream;

// The document types whose extensions a test lets pass. The test is on the upper-cased extension alone.
bool hasDocumentExtension(std::u16string_view path, bool allowPart, bool allowDrawing, bool allowAssembly);

// A new application object answered for the interface; E_OUTOFMEMORY when it cannot be had.
HRESULT makeApplication(IKvDMApplication** application) noexcept;

// Part of another object when it is made with an outer one: identity and counts are the outer object's then.
class CKvDMClassFactory final : public ErrorInfoObject<IKvDMClassFactory>
{
public:
    explicit CKvDMClassFactory(IUnknown* outerObject = nullptr) noexcept : outer(outerObject) {}

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID id, void** out) noexcept override;
    ULONG STDMETHODCALLTYPE AddRef() noexcept override;
    ULONG STDMETHODCALLTYPE Release() noexcept override;
    HRESULT STDMETHODCALLTYPE GetApplication(IKvDMApplication** application) noexcept override;

    // For the inner IUnknown, through which the outer object reaches and ends this one.
    HRESULT answerItself(REFIID id, void** out) noexcept { return ErrorInfoObject::QueryInterface(id, out); }
    void end() noexcept { ErrorInfoObject::Release(); }

private:
    ~CKvDMClassFactory() override = default;

    IUnknown* outer; // not counted: it owns this object
};

// A class factory inside the outer object, answered for IUnknown: the one interface whose counts are its own.
ComPtr<IUnknown> makeAggregatedClassFactory(IUnknown& outer);

class CKvDMApplication final : public ErrorInfoObject<IKvDMApplication2>
{
public:
    HRESULT STDMETHODCALLTYPE GetDocument(BSTR fullPathName, KvDmDocumentType docType, VARIANT_BOOL allowReadOnly, KvDmDocumentOpenError* result,
                                          IKvDMDocument** document) noexcept override;
    HRESULT STDMETHODCALLTYPE CopyDocument(BSTR fromName, BSTR toName, VARIANT fromChildren, VARIANT toChildren, LONG option,
                                           IKvDMSearchOption* searchOption, LONG* error) noexcept override;
    HRESULT STDMETHODCALLTYPE MoveDocument(BSTR fromName, BSTR toName, VARIANT fromChildren, VARIANT toChildren, LONG option,
                                           IKvDMSearchOption* searchOption, LONG* error) noexcept override;
    HRESULT STDMETHODCALLTYPE GetSearchOptionObject(IKvDMSearchOption** option) noexcept override;
    HRESULT STDMETHODCALLTYPE GetLatestSupportedFileVersion(LONG* version) noexcept override;
    HRESULT STDMETHODCALLTYPE GetDocument2(IUnknown* documentStream, KvDmDocumentOpenError* result, IKvDMDocument** document) noexcept override;

private:
    ~CKvDMApplication() override;
    HRESULT iOpenOnStream(IStream& stream, ComPtr<IStorage>& storage) noexcept;

    ComPtr<CLockBytesOnStream> lockBytes; // over the stream opened last
};

} // namespace kvdm
