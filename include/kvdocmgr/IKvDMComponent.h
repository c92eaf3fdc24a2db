// Components: the instances that an assembly's configuration consists of. Not yet: IKvDMConfiguration2::GetComponents hands
// out none.
// Strings that come out are the caller's (SysFreeString), variants too (VariantClear), objects are counted for the caller
// (Release). Booleans are -1 and 0. E_POINTER for an empty out-pointer. A component belongs to the thread of its assembly and
// must not be used after it.
#pragma once

#include <kvdocmgr/enumerations.h>
#include <kvdocmgr/identifiers.h>
#include <kvdocmgr/oletypes.h>

struct IKvDMDocument;
struct IKvDMSearchOption;

// One component.
struct IKvDMComponent : IUnknown
{
    // The name of the instance.
    virtual HRESULT STDMETHODCALLTYPE get_Name(BSTR* name) = 0;
    // The configuration of its document that it shows.
    virtual HRESULT STDMETHODCALLTYPE get_ConfigurationName(BSTR* name) = 0;
    virtual HRESULT STDMETHODCALLTYPE IsHidden(VARIANT_BOOL* hidden) = 0;
    virtual HRESULT STDMETHODCALLTYPE IsSuppressed(VARIANT_BOOL* suppressed) = 0;
    // Its place: VT_ARRAY | VT_R8 of 16 numbers in stored order. Their meaning and unit are the CAD system's.
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
    // As IKvDMApplication::GetDocument; allowReadOnly counts for virtual components alone, other files open read-write.
    virtual HRESULT STDMETHODCALLTYPE GetDocument(VARIANT_BOOL allowReadOnly, KvDmDocumentOpenError* error, IKvDMDocument** document) = 0;
    // True when its document is stored inside the assembly.
    virtual HRESULT STDMETHODCALLTYPE get_IsVirtual(VARIANT_BOOL* isVirtual) = 0;
    // E_NOTIMPL.
    virtual HRESULT STDMETHODCALLTYPE put_IsVirtual(VARIANT_BOOL isVirtual) = 0;
};

// Opening its document by search paths.
struct IKvDMComponent4 : IKvDMComponent3
{
    // As GetDocument; a file that is not where it was recorded is looked for in the paths of option, which may be null.
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
