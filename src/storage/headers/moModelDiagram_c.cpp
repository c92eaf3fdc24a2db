#include "storage/headers/moModelDiagram_c.h"

#include "storage/headers/dmSerializeContext.h"

namespace kvdm {

void moModelDiagram_c::serialize(su_CArchive& archive)
{
    (void)dmSerializeContext::of(archive);
}

} // namespace kvdm
