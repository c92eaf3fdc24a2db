#include "properties/suSummaryInformation_c.h"

#include "common/automationText.h"
#include "common/exceptions.h"
#include "platform/files/files.h"
#include "platform/text/datetime.h"
#include "properties/propertyStreams.h"
#include "properties/propertyText.h"
#include "storage/headers/dmSerializeContext.h"
#include "storage/suStructuredStorage.h"

#include <atomic>

namespace kvdm {

namespace {

constexpr std::uint32_t titleId = 2;
constexpr std::uint32_t subjectId = 3;
constexpr std::uint32_t authorId = 4;
constexpr std::uint32_t keywordsId = 5;
constexpr std::uint32_t commentsId = 6;
constexpr std::uint32_t lastSavedById = 8;
constexpr std::uint32_t creationDateId = 12;
constexpr std::uint32_t lastSavedDateId = 13;

constinit std::atomic<suKeywordSet*> keywordSet{nullptr};

std::uint32_t idOf(SummaryField field) noexcept
{
    constexpr std::uint32_t ids[] = {titleId, subjectId, authorId, keywordsId, commentsId, lastSavedById, creationDateId, lastSavedDateId};
    return ids[static_cast<int>(field)];
}

void collectKeywords(suKeywordSet& keywords, std::u16string_view text)
{
    while (!text.empty()) {
        const std::size_t end = std::min(text.find(u';'), text.size());
        if (end > 0)
            keywords.add(text.substr(0, end));
        text.remove_prefix(std::min(end + 1, text.size()));
    }
}

} // namespace

void setKeywordSet(suKeywordSet* keywords) noexcept
{
    keywordSet = keywords;
}

suSummaryInformation_c::suSummaryInformation_c() : set(summaryFormat), section(&set.requireSection(summaryFormat))
{
    section->versionForCodePage = dmSerializeContext::presentVersion;
    for (const std::uint32_t id : {titleId, subjectId, authorId, keywordsId, commentsId, lastSavedById})
        section->SetProperty(id, {}, VT_LPSTR);
    for (const std::uint32_t id : {lastSavedDateId, creationDateId})
        section->SetProperty(id, oleBytes(FILETIME{}), VT_FILETIME);
    section->setUnchanged();
}

bool suSummaryInformation_c::Read(IStorage& storage, std::optional<std::int32_t> documentVersion)
{
    bool missing = false;
    const ComPtr<IStream> stream = openPropertyStream(storage, summaryStream, missing);
    if (!stream) {
        if (!missing)
            set.setUnread();
        return false;
    }
    const std::int32_t version = documentVersion ? *documentVersion : suStructuredStorage::loadVersion(storage);
    const bool outcome = set.Read(*stream, version, version);
    section = &set.requireSection(summaryFormat);
    if (suKeywordSet* keywords = keywordSet)
        collectKeywords(*keywords, getField(SummaryField::keywords));
    return outcome;
}

bool suSummaryInformation_c::Write(IStorage& storage)
{
    if (set.isLeftAlone())
        return true;
    const std::string bytes = set.makeStream(); // before anything in the storage changes
    if (bytes.empty())
        throw suFileException(suFileException::generic);
    ComPtr<IStream> stream;
    constexpr DWORD mode = STGM_CREATE | STGM_READWRITE | STGM_SHARE_EXCLUSIVE;
    if (FAILED(storage.CreateStream(toOle(std::u16string(summaryStream)), mode, 0, 0, stream.put()))) {
        (void)stream.detach(); // a failed call may leave anything behind
        return false;
    }
    if (!stream)
        return false;
    if (!writeWholeStream(*stream, bytes))
        throw suFileException(suFileException::generic);
    return true;
}

std::u16string suSummaryInformation_c::getField(SummaryField field) const
{
    const suOleProperty* property = section->findById(idOf(field));
    if (!property)
        return {};
    if (field != SummaryField::creationDate && field != SummaryField::lastSavedDate)
        return ValueToText(property, section->CodePage());
    return property->type == VT_FILETIME ? dateAndTimeText(oleNumber<FILETIME>(property->payload().data())) : std::u16string();
}

bool suSummaryInformation_c::setField(SummaryField field, std::u16string_view text)
{
    if (field > SummaryField::comments)
        return false;
    const auto value = TextToValue(text, VT_LPSTR, section->CodePage());
    return value && section->SetProperty(idOf(field), *value, VT_LPSTR);
}

void suSummaryInformation_c::stampSave()
{
    if (set.isLeftAlone())
        return; // a stamp must not be what replaces a stream that could not be read
    section->SetProperty(lastSavedDateId, oleBytes(presentFileTime()), VT_FILETIME);
    const auto user = TextToValue(userName().value_or(std::u16string()), VT_LPSTR, section->CodePage());
    section->SetProperty(lastSavedById, user.value_or(std::string()), VT_LPSTR);
}

} // namespace kvdm
