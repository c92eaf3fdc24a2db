#include "storage/archive/su_CObject.h"

namespace kvdm {

constinit const suRuntimeClass su_CObject::runtimeClass{"su_CObject", anySchema, nullptr, &createObject<su_CObject>};

void su_CObject::serialize(su_CArchive&) {}

void su_CObject::replacedBy(su_CObject&) {}

} // namespace kvdm
