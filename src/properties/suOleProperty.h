// One property of a property set.
#pragma once

#include "properties/oleValues.h"
#include "storage/archive/su_CObject.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>

namespace kvdm {

// The value is kept as it lies in the stream behind its type word, so that one that nobody changes goes back as it came.
// Until it is set it is a view into the stream's bytes, which the owning set keeps.
class suOleProperty final : public su_CObject
{
public:
    suOleProperty(std::uint32_t identifier, std::uint32_t valueType, std::string_view streamBytes) noexcept
        : id(identifier), type(valueType), stored(streamBytes)
    {}

    std::string_view payload() const noexcept { return isSet ? std::string_view(own) : stored; }
    void setPayload(std::uint32_t valueType, std::string bytes) noexcept
    {
        type = valueType;
        own = std::move(bytes);
        isSet = true;
    }

    std::uint32_t id;
    std::uint32_t type; // the vector flag included

private:
    bool isSet = false;
    std::string_view stored;
    std::string own;
};

} // namespace kvdm
