// Who changed a document and when.
#pragma once

#include "storage/archive/su_CObject.h"

#include <cstdint>
#include <string>

namespace kvdm {

class moStamp_c final : public suPersistent<moStamp_c>
{
public:
    static constexpr std::string_view streamName = "moStamp_c";
    void serialize(su_CArchive& archive) override;

    // A new stamp of the user who runs this process, without a time.
    static moStamp_c forPresentUser();
    // The login name, "NONAME" when there is none or it is longer than 30 characters. Asked once.
    static const std::u16string& presentUserName();

    std::int32_t stampValue1 = 0; // 16 bits in the stream
    std::int32_t stampValue2 = 0; //
    std::int32_t stampValue3 = 0; //
    std::int64_t stampTime = 0;
    std::u16string stampName;
};

} // namespace kvdm
