#include "storage/headers/moReferencedConfiguration_c.h"

#include "storage/archive/su_CArchive.h"
#include "storage/headers/dmSerializeContext.h"

namespace kvdm {

void moReferencedConfiguration_c::serialize(su_CArchive& archive)
{
    (void)dmSerializeContext::of(archive);
    if (archive.IsStoring())
        archive << name << value;
    else
        archive >> name >> value;
}

} // namespace kvdm
