// Sheets and views of a drawing, cut list items of a part: values that refuse changes (every put is E_NOTIMPL). Not yet:
// GetSheets, GetViews and GetCutListItems of the document hand out none.
// Strings that come out are the caller's (SysFreeString), variants too (VariantClear), objects are counted for the caller
// (Release). E_POINTER for an empty out-pointer. All belong to the thread of their document.
#pragma once

#include <kvdocmgr/enumerations.h>
#include <kvdocmgr/identifiers.h>
#include <kvdocmgr/oletypes.h>

// One sheet; its scale and paper size are its invisible properties.
struct IKvDMSheet : IUnknown
{
    virtual HRESULT STDMETHODCALLTYPE get_Name(BSTR* name) = 0;
    virtual HRESULT STDMETHODCALLTYPE put_Name(BSTR name) = 0;
    // "KV-Sheet Scale" ("1:2") or "KV-Sheet Format Size" ("A3"), as text (30); the empty text for any other name.
    virtual HRESULT STDMETHODCALLTYPE GetInvisibleCustomProperty(BSTR fieldName, KvDmCustomInfoType* fieldType, BSTR* fieldValue) = 0;
    // 2.
    virtual HRESULT STDMETHODCALLTYPE GetInvisibleCustomPropertyCount(LONG* count) = 0;
    // VT_ARRAY | VT_BSTR of the two names.
    virtual HRESULT STDMETHODCALLTYPE GetInvisibleCustomPropertyNames(VARIANT* names) = 0;
};

// One view. It must not be used after its document.
struct IKvDMView : IUnknown
{
    virtual HRESULT STDMETHODCALLTYPE get_Name(BSTR* name) = 0;
    virtual HRESULT STDMETHODCALLTYPE put_Name(BSTR name) = 0;
    // The document that the view shows, and which configuration of it.
    virtual HRESULT STDMETHODCALLTYPE get_ReferencedDocument(BSTR* path) = 0;
    virtual HRESULT STDMETHODCALLTYPE put_ReferencedDocument(BSTR path) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_ReferencedConfiguration(BSTR* name) = 0;
    virtual HRESULT STDMETHODCALLTYPE put_ReferencedConfiguration(BSTR name) = 0;
    // The sheet that it lies on.
    virtual HRESULT STDMETHODCALLTYPE get_SheetName(BSTR* name) = 0;
    virtual HRESULT STDMETHODCALLTYPE put_SheetName(BSTR name) = 0;
    // Null when there is no sheet of that name.
    virtual HRESULT STDMETHODCALLTYPE get_Sheet(IKvDMSheet** sheet) = 0;
    virtual HRESULT STDMETHODCALLTYPE put_Sheet(IKvDMSheet* sheet) = 0;
};

// One cut list item.
struct IKvDMCutListItem : IUnknown
{
    virtual HRESULT STDMETHODCALLTYPE get_Name(BSTR* name) = 0;
    virtual HRESULT STDMETHODCALLTYPE put_Name(BSTR name) = 0;
    // VT_ARRAY | VT_BSTR.
    virtual HRESULT STDMETHODCALLTYPE GetCustomPropertyNames(VARIANT* names) = 0;
    // Empty texts and type 0, with S_OK, for a name that is not there.
    virtual HRESULT STDMETHODCALLTYPE GetCustomPropertyValue(BSTR fieldName, KvDmCustomInfoType* fieldType, BSTR* linkedTo, BSTR* fieldValue) = 0;
    // How many pieces of it the part has.
    virtual HRESULT STDMETHODCALLTYPE get_Quantity(LONG* quantity) = 0;
    virtual HRESULT STDMETHODCALLTYPE put_Quantity(LONG quantity) = 0;
};
