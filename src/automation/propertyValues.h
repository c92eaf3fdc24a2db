// The custom property methods that documents and configurations share: a store asked, its answer in automation values. The
// out-pointers have been tested. A null store answers as an empty one.
#pragma once

#include <kvdocmgr/kvdocmgr.h>

namespace kvdm {

class suPropertyStore_c;

HRESULT addProperty(suPropertyStore_c* store, BSTR name, KvDmCustomInfoType type, BSTR value, VARIANT_BOOL* added);
// The link text of a linked property, else the value. E_FAIL, an empty text and type 0 when there is no such property.
HRESULT getProperty(const suPropertyStore_c* store, BSTR name, KvDmCustomInfoType* type, BSTR* value);
// Link text (when asked for) and value apart.
HRESULT givePropertyValues(const suPropertyStore_c* store, BSTR name, KvDmCustomInfoType* type, BSTR* linkedTo, BSTR* value);
HRESULT setProperty(suPropertyStore_c* store, BSTR name, BSTR value);
HRESULT deleteProperty(suPropertyStore_c* store, BSTR name, VARIANT_BOOL* deleted);
HRESULT countProperties(const suPropertyStore_c* store, LONG* count);
// Arrays in list order; empty variants when there is no property.
HRESULT givePropertyNames(const suPropertyStore_c* store, VARIANT* names);
HRESULT giveProperties(const suPropertyStore_c* store, VARIANT* names, VARIANT* types, VARIANT* linkedTo, VARIANT* values);

} // namespace kvdm
