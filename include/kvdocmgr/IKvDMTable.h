// Annotation tables: revision tables, bills of materials.
#pragma once

#include <kvdocmgr/enumerations.h>
#include <kvdocmgr/identifiers.h>
#include <kvdocmgr/oletypes.h>

// One table. Indexes are zero-based positions among what is not deleted. S_FALSE when error is set.
struct IKvDMTable : IUnknown
{
    virtual HRESULT STDMETHODCALLTYPE get_Name(BSTR* name) = 0;
    // Data are an array of strings, one a column; edits are for revision tables alone.
    virtual HRESULT STDMETHODCALLTYPE AddRowTail(VARIANT* rowData, KvDmTableError* error) = 0;
    virtual HRESULT STDMETHODCALLTYPE AddRowHead(VARIANT* rowData, KvDmTableError* error) = 0;
    virtual HRESULT STDMETHODCALLTYPE AddColumnLeft(VARIANT* columnData, KvDmTableError* error) = 0;
    virtual HRESULT STDMETHODCALLTYPE AddColumnRight(VARIANT* columnData, KvDmTableError* error) = 0;
    // True is 1 here.
    virtual HRESULT STDMETHODCALLTYPE IsTitleVisible(VARIANT_BOOL* visible) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetColumnCount(LONG* count) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetRowCount(LONG* count) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetColumnType(LONG columnIndex, KvDmColumnType* type) = 0;
    virtual HRESULT STDMETHODCALLTYPE DeleteRow(LONG rowIndex, KvDmTableError* error) = 0;
    virtual HRESULT STDMETHODCALLTYPE DeleteColumn(LONG columnIndex, KvDmTableError* error) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetHeaderStyle(KvDmTableHeaderStyle* style) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetCellText(LONG rowIndex, LONG columnIndex, BSTR* text, KvDmTableError* error) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetCellText(LONG rowIndex, LONG columnIndex, BSTR text, KvDmTableError* error) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetComponentRep(LONG rowIndex, BSTR* component, KvDmTableError* error) = 0;
};
