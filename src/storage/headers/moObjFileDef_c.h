// Where another document lies: the path part of a reference.
#pragma once

#include "storage/archive/su_CObject.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace kvdm {

class moObjFileDef_c final : public suPersistent<moObjFileDef_c>
{
public:
    static constexpr std::string_view streamName = "moObjFileDef_c";
    static constexpr std::uint32_t webPathFlag = 1;
    void serialize(su_CArchive& archive) override;

    bool isWebPath() const noexcept { return (flags & webPathFlag) != 0; }
    // Takes the path, and whether it is one of the web, from the first four characters.
    void setPath(std::u16string path);

    std::uint32_t flags = 0;
    std::u16string fileName;
    std::uint32_t typeCode = 0;  // kept as read
    std::u16string pathName;     // full path as last saved
    std::u16string webPath;      // the same when it begins with "http"
    std::uint32_t timeStamp = 0; // from 2038: seconds of the referenced file
};

} // namespace kvdm
