// Components: the instances that an assembly's configuration consists of.
#pragma once

#include <kvdocmgr/enumerations.h>
#include <kvdocmgr/identifiers.h>
#include <kvdocmgr/oletypes.h>

struct IKvDMDocument;
struct IKvDMSearchOption;

// One component.
struct IKvDMComponent : IUnknown
{
    virtual HRESULT STDMETHODCALLTYPE get_Name(BSTR* name) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_ConfigurationName(BSTR* name) = 0;
    virtual HRESULT STDMETHODCALLTYPE IsHidden(VARIANT_BOOL* hidden) = 0;
    virtual HRESULT STDMETHODCALLTYPE IsSuppressed(VARIANT_BOOL* suppressed) = 0;
    // An array of 16 doubles, in stored order.
    virtual HRESULT STDMETHODCALLTYPE get_Transform(VARIANT* transform) = 0;
};

// The kind of its document.
struct IKvDMComponent2 : IKvDMComponent
{
    virtual HRESULT STDMETHODCALLTYPE get_DocumentType(KvDmDocumentType* type) = 0;
};

// Opening its document.
struct IKvDMComponent3 : IKvDMComponent2
{
    virtual HRESULT STDMETHODCALLTYPE GetDocument(VARIANT_BOOL allowReadOnly, KvDmDocumentOpenError* error, IKvDMDocument** document) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_IsVirtual(VARIANT_BOOL* isVirtual) = 0;
    // E_NOTIMPL.
    virtual HRESULT STDMETHODCALLTYPE put_IsVirtual(VARIANT_BOOL isVirtual) = 0;
};

// Opening its document by search paths.
struct IKvDMComponent4 : IKvDMComponent3
{
    virtual HRESULT STDMETHODCALLTYPE GetDocument2(VARIANT_BOOL allowReadOnly, IKvDMSearchOption* option, KvDmDocumentOpenError* error,
                                                   IKvDMDocument** document) = 0;
};

// Envelopes and the bill of materials.
struct IKvDMComponent5 : IKvDMComponent4
{
    virtual HRESULT STDMETHODCALLTYPE IsEnvelope(VARIANT_BOOL* isEnvelope) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_ExcludeFromBOM(kvDmExcludeFromBOMResult* result) = 0;
    // E_NOTIMPL.
    virtual HRESULT STDMETHODCALLTYPE put_ExcludeFromBOM(kvDmExcludeFromBOMResult result) = 0;
};
