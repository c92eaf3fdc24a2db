// The references of a document, in the order of its header.
#pragma once

#include "storage/archive/objectCollections.h"

#include <kvdocmgr/enumerations.h>

#include <cstdint>
#include <string>
#include <vector>

namespace kvdm {

class moExtObject_c;

class moExtObjectList_c final : public suPersistent<moExtObjectList_c, suObList>
{
public:
    static constexpr std::string_view streamName = "moExtObjectList_c";

    // The paths of the records that count as external or as in-context, as far as each is wanted, in list order. With
    // uniqueOnly a path comes once, compared without regard to case. Statuses and virtual flags go along with the paths.
    std::vector<std::u16string> ListReferences(bool uniqueOnly, bool wantExternal, bool wantInContext,
                                               std::vector<KvDmReferenceStatus>* outStatuses = nullptr,
                                               std::vector<std::int32_t>* outVirtuals = nullptr) const;

    std::vector<moExtObject_c*> records() const;
};

} // namespace kvdm
