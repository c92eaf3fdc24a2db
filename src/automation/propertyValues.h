// Custom properties of a store as automation values, for documents and configurations alike.
#pragma once

#include <kvdocmgr/kvdocmgr.h>

namespace kvdm {

class suPropertyStore_c;

// Four arrays of one length in list order; all stay empty when there is no property.
HRESULT giveProperties(suPropertyStore_c& store, VARIANT* names, VARIANT* types, VARIANT* linkedTo, VARIANT* values);

// Type, link text (when asked for) and value; E_FAIL, empty texts and type 0 when there is no such property or no store.
HRESULT givePropertyValues(suPropertyStore_c* store, BSTR name, KvDmCustomInfoType* type, BSTR* linkedTo, BSTR* value);

} // namespace kvdm
