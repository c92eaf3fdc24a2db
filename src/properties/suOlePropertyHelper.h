// A name with a number, as object streams keep it.
#pragma once

#include "storage/archive/su_CObject.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace kvdm {

class suOlePropertyHelper final : public suPersistent<suOlePropertyHelper>
{
public:
    static constexpr std::string_view streamName = "suOlePropertyHelper";
    void serialize(su_CArchive& archive) override;

    std::u16string name;
    std::uint32_t value = 0;
};

// Makes the class known to object streams; to be called before the first is read.
void registerPropertyClasses();

} // namespace kvdm
