#include "storage/headers/moExtObjectList_c.h"

#include "platform/text/casing.h"
#include "storage/headers/moExtObject_c.h"

#include <set>

namespace kvdm {

std::vector<moExtObject_c*> moExtObjectList_c::records() const
{
    return elementsOf<moExtObject_c>();
}

std::vector<std::u16string> moExtObjectList_c::ListReferences(bool uniqueOnly, bool wantExternal, bool wantInContext,
                                                              std::vector<KvDmReferenceStatus>* outStatuses,
                                                              std::vector<std::int32_t>* outVirtuals) const
{
    std::vector<std::u16string> paths;
    std::set<std::u16string, LessNoCase> seen;
    for (const moExtObject_c* record : records()) {
        if (!(wantExternal && record->isExternal()) && !(wantInContext && record->isInContext()))
            continue;
        std::u16string path = record->getPath();
        if (uniqueOnly && !seen.insert(path).second)
            continue;
        paths.push_back(std::move(path));
        if (outStatuses)
            outStatuses->push_back(record->isBroken() ? kvDmReferenceStatusBroken : kvDmReferenceStatusNotBroken);
        if (outVirtuals)
            outVirtuals->push_back(record->isVirtual);
    }
    return paths;
}

} // namespace kvdm
