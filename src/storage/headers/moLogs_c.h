// A list of stamps and of further lists of stamps.
#pragma once

#include "storage/archive/objectCollections.h"

#include <cstdint>
#include <string>

namespace kvdm {

class moStamp_c;

// Storing sweeps the list first: what is neither a stamp nor a log is dropped. A log among the elements sweeps itself when
// its turn comes.
class moLogs_c final : public suPersistent<moLogs_c, su_CObList>
{
public:
    static constexpr std::string_view streamName = "moLogs_c";
    void serialize(su_CArchive& archive) override;

    // The first stamp among the elements, null when there is none.
    moStamp_c* firstStamp() const noexcept;

    std::int32_t logValue = 0;
    std::u16string logName;
};

} // namespace kvdm
