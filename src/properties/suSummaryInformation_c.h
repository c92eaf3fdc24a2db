// The summary stream of a document.
#pragma once

#include "properties/suOlePropertySet.h"

#include <kvdocmgr/oletypes.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace kvdm {

inline constexpr std::u16string_view summaryStream = u"\u0005SummaryInformation";

// What collects the keywords of all documents that a process reads. It stands in a higher room.
class suKeywordSet
{
public:
    virtual void add(std::u16string_view keyword) = 0;

protected:
    ~suKeywordSet() = default;
};
// The process-wide set, which must outlive its use; null, as it is at the start, drops the keywords.
void setKeywordSet(suKeywordSet* keywords) noexcept;

// Field numbers are those that the automation layer passes.
enum class SummaryField : int
{
    title = 0,
    subject = 1,
    author = 2,
    keywords = 3,
    comments = 4,
    lastSavedBy = 5,
    creationDate = 6,
    lastSavedDate = 7
};

// Fields as text. The document core owns one, reads it at first need and writes it at every save. Throws suFileException
// where told, else only std::bad_alloc.
class suSummaryInformation_c final : public su_CObject
{
public:
    suSummaryInformation_c();

    // A missing stream leaves the empty fields of a new object. False when there is no stream or it ends too early.
    bool Read(IStorage& storage, std::optional<std::int32_t> documentVersion = std::nullopt);
    // Replaces the stream; one that did not read whole stays as it is while no field was set. False when it cannot be made.
    // Throws a file exception when writing fails.
    bool Write(IStorage& storage);

    // Empty when the property is absent; dates as long date and time of the local zone.
    std::u16string getField(SummaryField field) const;
    // False for the fields that only a save sets.
    bool setField(SummaryField field, std::u16string_view text);
    // For a save: the present as the last saved date, the user of the process as the last to save.
    void stampSave();

    const suOlePropertySection& getSection() const noexcept { return *section; }

private:
    suOlePropertySet set;
    suOlePropertySection* section; // points into set
};

} // namespace kvdm
