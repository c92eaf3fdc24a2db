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

class CKvDMClassFactory final : public ErrorInfoObject<IKvDMClassFactory>
{
public:
    HRESULT STDMETHODCALLTYPE GetApplication(IKvDMApplication** application) noexcept override;

private:
    ~CKvDMClassFactory() override = default;
};

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
    HRESULT iOpenOnStream(IStream& stream, ComPtr<IStorage>& storage);

    ComPtr<CLockBytesOnStream> lockBytes; // over the stream opened last
};

} // namespace kvdm
