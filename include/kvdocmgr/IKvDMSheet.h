// Sheets and views of a drawing, cut list items of a part: values that refuse changes (every put is E_NOTIMPL).
#pragma once

#include <kvdocmgr/enumerations.h>
#include <kvdocmgr/identifiers.h>
#include <kvdocmgr/oletypes.h>

// One sheet; its scale and paper size are its invisible properties.
struct IKvDMSheet : IUnknown
{
    virtual HRESULT STDMETHODCALLTYPE get_Name(BSTR* name) = 0;
    virtual HRESULT STDMETHODCALLTYPE put_Name(BSTR name) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetInvisibleCustomProperty(BSTR fieldName, KvDmCustomInfoType* fieldType, BSTR* fieldValue) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetInvisibleCustomPropertyCount(LONG* count) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetInvisibleCustomPropertyNames(VARIANT* names) = 0;
};

// One view.
struct IKvDMView : IUnknown
{
    virtual HRESULT STDMETHODCALLTYPE get_Name(BSTR* name) = 0;
    virtual HRESULT STDMETHODCALLTYPE put_Name(BSTR name) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_ReferencedDocument(BSTR* path) = 0;
    virtual HRESULT STDMETHODCALLTYPE put_ReferencedDocument(BSTR path) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_ReferencedConfiguration(BSTR* name) = 0;
    virtual HRESULT STDMETHODCALLTYPE put_ReferencedConfiguration(BSTR name) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_SheetName(BSTR* name) = 0;
    virtual HRESULT STDMETHODCALLTYPE put_SheetName(BSTR name) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_Sheet(IKvDMSheet** sheet) = 0;
    virtual HRESULT STDMETHODCALLTYPE put_Sheet(IKvDMSheet* sheet) = 0;
};

// One cut list item.
struct IKvDMCutListItem : IUnknown
{
    virtual HRESULT STDMETHODCALLTYPE get_Name(BSTR* name) = 0;
    virtual HRESULT STDMETHODCALLTYPE put_Name(BSTR name) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetCustomPropertyNames(VARIANT* names) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetCustomPropertyValue(BSTR fieldName, KvDmCustomInfoType* fieldType, BSTR* linkedTo, BSTR* fieldValue) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_Quantity(LONG* quantity) = 0;
    virtual HRESULT STDMETHODCALLTYPE put_Quantity(LONG quantity) = 0;
};
