// A configuration of another document that this one uses.
#pragma once

#include "storage/archive/su_CObject.h"

#include <cstdint>
#include <string>

namespace kvdm {

class moReferencedConfiguration_c final : public suPersistent<moReferencedConfiguration_c>
{
public:
    static constexpr std::string_view streamName = "moReferencedConfiguration_c";
    void serialize(su_CArchive& archive) override;

    std::u16string name;
    std::int32_t value = 0;
};

} // namespace kvdm
