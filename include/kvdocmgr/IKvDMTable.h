// Annotation tables: revision tables, bills of materials. Not yet: IKvDMDocument10::GetTable hands out none.
// Strings that come out are the caller's (SysFreeString). E_POINTER for an empty out-pointer. A table belongs to the thread of
// its document.
#pragma once

#include <kvdocmgr/enumerations.h>
#include <kvdocmgr/identifiers.h>
#include <kvdocmgr/oletypes.h>

// One table. Indexes are zero-based positions among what is not deleted. S_FALSE when error is set: Failed for what is not
// there, NotSupported for another type of table. Edits are for revision tables alone and reach the file with the document's
// Save.
struct IKvDMTable : IUnknown
{
    virtual HRESULT STDMETHODCALLTYPE get_Name(BSTR* name) = 0;
    // A new last or first row. Data are VT_ARRAY | VT_BSTR, one text a column, and stay the caller's: surplus texts are
    // dropped, missing ones are empty.
    virtual HRESULT STDMETHODCALLTYPE AddRowTail(VARIANT* rowData, KvDmTableError* error) = 0;
    virtual HRESULT STDMETHODCALLTYPE AddRowHead(VARIANT* rowData, KvDmTableError* error) = 0;
    // A new first or last column, one text a row.
    virtual HRESULT STDMETHODCALLTYPE AddColumnLeft(VARIANT* columnData, KvDmTableError* error) = 0;
    virtual HRESULT STDMETHODCALLTYPE AddColumnRight(VARIANT* columnData, KvDmTableError* error) = 0;
    // True is 1 here.
    virtual HRESULT STDMETHODCALLTYPE IsTitleVisible(VARIANT_BOOL* visible) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetColumnCount(LONG* count) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetRowCount(LONG* count) = 0;
    // NotFound for what is no column of a revision table.
    virtual HRESULT STDMETHODCALLTYPE GetColumnType(LONG columnIndex, KvDmColumnType* type) = 0;
    virtual HRESULT STDMETHODCALLTYPE DeleteRow(LONG rowIndex, KvDmTableError* error) = 0;
    virtual HRESULT STDMETHODCALLTYPE DeleteColumn(LONG columnIndex, KvDmTableError* error) = 0;
    // Whether the header row stands at the top or at the bottom.
    virtual HRESULT STDMETHODCALLTYPE GetHeaderStyle(KvDmTableHeaderStyle* style) = 0;
    // Lines of a wrapped cell join up; a symbol reads as "<library-symbol>".
    virtual HRESULT STDMETHODCALLTYPE GetCellText(LONG rowIndex, LONG columnIndex, BSTR* text, KvDmTableError* error) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetCellText(LONG rowIndex, LONG columnIndex, BSTR text, KvDmTableError* error) = 0;
    // The component that a row of a bill of materials stands for.
    virtual HRESULT STDMETHODCALLTYPE GetComponentRep(LONG rowIndex, BSTR* component, KvDmTableError* error) = 0;
};
