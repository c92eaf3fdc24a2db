// The list of a document's configurations.
#pragma once

#include "storage/archive/objectCollections.h"
#include "storage/headers/dmConfigHeader_c.h"
#include "storage/headers/moExtObject_c.h"

#include <cstdint>
#include <memory>
#include <vector>

namespace kvdm {

class dmConfigMgrHeader_c final : public suPersistent<dmConfigMgrHeader_c>
{
public:
    static constexpr std::string_view streamName = "dmConfigMgrHeader_c";
    void serialize(su_CArchive& archive) override;
    void releaseReferences() noexcept override;

    // In file order, which clients see.
    std::vector<dmConfigHeader_c*> configurations() const { return configHeaders.elementsOf<dmConfigHeader_c>(); }

    suSelfDestroyObList configHeaders;
    std::int32_t activeValue = 0;                               // not in the stream: 0 below 1282, else -1
    std::vector<std::shared_ptr<moExtObject_c>> referencedList; // from 3028 to 3326
};

} // namespace kvdm
