#include "storage/headers/moLogs_c.h"

#include "storage/archive/su_CArchive.h"
#include "storage/headers/dmSerializeContext.h"
#include "storage/headers/moStamp_c.h"

namespace kvdm {

void moLogs_c::serialize(su_CArchive& archive)
{
    (void)dmSerializeContext::of(archive);
    if (archive.IsStoring()) {
        std::erase_if(elements, [](const auto& element) {
            return !element || !(element->isKindOf(moStamp_c::runtimeClass) || element->isKindOf(moLogs_c::runtimeClass));
        });
        su_CObList::serialize(archive);
        archive << logValue << logName;
    } else {
        su_CObList::serialize(archive);
        archive >> logValue >> logName;
    }
}

moStamp_c* moLogs_c::firstStamp() const noexcept
{
    for (const auto& element : elements)
        if (moStamp_c* stamp = objectAs<moStamp_c>(element.get()))
            return stamp;
    return nullptr;
}

} // namespace kvdm
