// The document header: what a document is, before any of its bulk is touched.
#pragma once

#include "storage/archive/objectCollections.h"
#include "storage/archive/stringCollections.h"
#include "storage/headers/moExtObject_c.h"
#include "storage/headers/moExtObjectList_c.h"

#include <cstdint>
#include <memory>
#include <optional>

namespace kvdm {

class dmSerializeContext;
class moLogs_c;

// Fields in stream order. Those named by the version that brought them have no meaning here and go back as they came.
// Objects may be null in the stream.
class moHeader_c final : public suPersistent<moHeader_c>
{
public:
    static constexpr std::string_view streamName = "moHeader_c";
    void serialize(su_CArchive& archive) override;
    void releaseReferences() noexcept override;

    // The time of the first stamp of the first log, when there is one.
    std::optional<std::int64_t> firstStampTime() const;

    std::shared_ptr<su_CStringArray> historyStrings;
    std::shared_ptr<su_CStringArray> auxStrings;
    std::shared_ptr<su_CObList> logs; // of moLogs_c
    std::int64_t saveTime = 0;        // from 241
    std::uint32_t headerFlags = 0;
    std::shared_ptr<moExtObjectList_c> extObjectList;
    std::uint32_t lastUpdateStamp = 0;                  // from 151
    std::shared_ptr<moExtObject_c> ownExtObject;        // from 217: the document's own record
    std::uint32_t value780 = 0;                         // from 780
    std::uint32_t value1253 = 0;                        // from 1253
    std::uint32_t detachedDrawingFlag = 0;              // from 1281
    std::int64_t createTime = 0;                        // from 1286
    std::uint32_t value1329 = 2;                        // from 1329
    std::uint32_t value2138 = 0;                        // from 2138
    std::uint32_t modelFlags = 0;                       // from 2335
    std::shared_ptr<su_CStringArray> linkedAttachments; // from 2722
    std::uint32_t componentCount = 0;                   // from 2957
    std::uint32_t value3319 = 0;                        // from 3319
    std::int64_t classChangeTime = 0;                   // from 3677

private:
    void iLoad(su_CArchive& archive, dmSerializeContext& context);
    void iStore(su_CArchive& archive, dmSerializeContext& context);
    bool iEndsWithOverride() const;
    std::optional<int> iTakeVersionOverride();
    void iCleanUpLogs();
    void iCorrectSaveTime();
    void iKeepTimesConsistent();
};

} // namespace kvdm
