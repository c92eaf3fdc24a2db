#include "storage/headers/moHeader_c.h"

#include "platform/text/datetime.h"
#include "storage/archive/su_CArchive.h"
#include "storage/headers/dmSerializeContext.h"
#include "storage/headers/moLogs_c.h"
#include "storage/headers/moStamp_c.h"

namespace kvdm {

namespace {

constexpr std::u16string_view overrideMark = u"KESTROVANE_INTERNAL_";

// A decimal number as the C library reads it: blanks, a sign, digits up to the first other character; too large a number
// becomes the nearest that there is.
int decimalOf(std::u16string_view text)
{
    std::size_t at = 0;
    while (at < text.size() && (text[at] == u' ' || (text[at] >= u'\t' && text[at] <= u'\r')))
        ++at;
    bool negative = false;
    if (at < text.size() && (text[at] == u'-' || text[at] == u'+'))
        negative = text[at++] == u'-';
    constexpr std::int64_t most = INT32_MAX;
    std::int64_t number = 0;
    for (; at < text.size() && text[at] >= u'0' && text[at] <= u'9' && number <= most; ++at)
        number = number * 10 + (text[at] - u'0');
    return static_cast<int>(negative ? std::max<std::int64_t>(-number, INT32_MIN) : std::min(number, most));
}

} // namespace

void moHeader_c::serialize(su_CArchive& archive)
{
    dmSerializeContext& context = dmSerializeContext::of(archive);
    if (archive.IsStoring())
        iStore(archive, context);
    else
        iLoad(archive, context);
}

void moHeader_c::iLoad(su_CArchive& archive, dmSerializeContext& context)
{
    historyStrings = archive.ReadObjectOf<su_CStringArray>();
    const std::optional<int> overridden = iTakeVersionOverride();
    const int documentVersion = context.version;
    if (overridden)
        context.version = *overridden;
    auxStrings = archive.ReadObjectOf<su_CStringArray>();
    logs = archive.ReadObjectOf<su_CObList>();
    iCleanUpLogs();
    saveTime = context.from(241) ? readTime(archive) : dmSerializeContext::presentTime();
    archive >> headerFlags;
    extObjectList = archive.ReadObjectOf<moExtObjectList_c>();
    if (context.from(151)) {
        archive >> lastUpdateStamp;
        if (lastUpdateStamp == 101) {
            lastUpdateStamp = 102;
            classChangeTime = dmSerializeContext::presentTime();
        }
    }
    if (context.from(217)) {
        ownExtObject = archive.ReadObjectOf<moExtObject_c>();
        if (ownExtObject && !context.from(2038))
            ownExtObject->stamp.stampTime = dmSerializeContext::presentTime();
    }
    if (context.from(780))
        archive >> value780;
    if (context.from(1253))
        archive >> value1253;
    if (context.from(1281))
        archive >> detachedDrawingFlag;
    createTime = context.from(1286) ? readTime(archive) : firstStampTime().value_or(0);
    if (context.copyMode && !(context.flags & dmSerializeContext::skipTimeConsistency))
        iKeepTimesConsistent();
    if (context.from(1329))
        archive >> value1329;

    if (overridden)
        context.version = documentVersion == 0 ? dmSerializeContext::presentVersion : documentVersion;
    if (context.from(2138))
        archive >> value2138;
    if (context.from(2335))
        archive >> modelFlags;
    if (context.from(2722))
        linkedAttachments = archive.ReadObjectOf<su_CStringArray>();
    if (context.from(2957))
        archive >> componentCount;
    if (context.from(3319))
        archive >> value3319;
    if (context.from(3677))
        classChangeTime = readTime(archive);
}

void moHeader_c::iStore(su_CArchive& archive, dmSerializeContext& context)
{
    if (!(context.flags & dmSerializeContext::skipTimeCorrection))
        iCorrectSaveTime();
    while (iEndsWithOverride()) // a second one behind the one that was read would rule this stream, which follows none
        historyStrings->elements.pop_back();
    archive.WriteObject(historyStrings);
    archive.WriteObject(auxStrings);
    archive.WriteObject(logs);
    if (context.from(241))
        writeTime(archive, saveTime);
    archive << headerFlags;
    archive.WriteObject(extObjectList);
    if (context.from(151))
        archive << lastUpdateStamp;
    if (context.from(217))
        archive.WriteObject(ownExtObject);
    if (context.from(780))
        archive << value780;
    if (context.from(1253))
        archive << value1253;
    if (context.from(1281))
        archive << detachedDrawingFlag;
    std::int64_t storedCreateTime = createTime;
    if (const auto first = firstStampTime(); context.copyMode && first) {
        storedCreateTime = *first;
        context.times[createTime] = storedCreateTime;
    }
    if (context.from(1286))
        writeTime(archive, storedCreateTime);
    if (context.from(1329))
        archive << value1329;
    if (context.from(2138))
        archive << value2138;
    if (context.from(2335))
        archive << modelFlags;
    if (context.from(2722))
        archive.WriteObject(linkedAttachments);
    if (context.from(2957))
        archive << componentCount;
    if (context.from(3319))
        archive << value3319;
    if (context.from(3677))
        writeTime(archive, classChangeTime);
}

bool moHeader_c::iEndsWithOverride() const
{
    return historyStrings && historyStrings->elements.size() >= 2 && historyStrings->elements.back().find(overrideMark) != std::u16string::npos;
}

// A document that a newer program saved in an older form says so in the last history string, which is then no history.
std::optional<int> moHeader_c::iTakeVersionOverride()
{
    if (!iEndsWithOverride())
        return std::nullopt;
    const std::u16string text = std::move(historyStrings->elements.back());
    historyStrings->elements.pop_back();
    std::u16string rest;
    std::size_t copied = 0;
    for (std::size_t at = text.find(overrideMark); at != std::u16string::npos; at = text.find(overrideMark, copied)) {
        rest.append(text, copied, at - copied);
        copied = at + overrideMark.size();
    }
    rest.append(text, copied, std::u16string::npos);
    return decimalOf(rest);
}

void moHeader_c::iCleanUpLogs()
{
    if (logs)
        std::erase(logs->elements, nullptr);
}

std::optional<std::int64_t> moHeader_c::firstStampTime() const
{
    if (logs) {
        for (const auto& element : logs->elements) {
            if (const moLogs_c* log = objectAs<moLogs_c>(element.get())) {
                const moStamp_c* stamp = log->firstStamp();
                return stamp ? std::optional(stamp->stampTime) : std::nullopt;
            }
        }
    }
    return std::nullopt;
}

// A save time of this year is replaced: one of January by the present, any other by the time of creation.
void moHeader_c::iCorrectSaveTime()
{
    const std::int64_t now = dmSerializeContext::presentTime();
    const SYSTEMTIME saved = localCalendar(saveTime);
    if (saved.wYear != localCalendar(now).wYear)
        return;
    saveTime = saved.wMonth != 1 && isValidTime(createTime) ? createTime : now;
}

// A copy that is read must not pass for the document that it was copied from.
void moHeader_c::iKeepTimesConsistent()
{
    const std::optional<std::int64_t> first = firstStampTime();
    if (first && createTime == *first)
        createTime = dmSerializeContext::presentTime();
    else if (first && !isValidTime(createTime))
        createTime = *first;
    else
        return;
    if (ownExtObject)
        ownExtObject->stamp.stampTime = createTime;
}

void moHeader_c::releaseReferences() noexcept
{
    historyStrings.reset();
    auxStrings.reset();
    logs.reset();
    extObjectList.reset();
    ownExtObject.reset();
    linkedAttachments.reset();
}

} // namespace kvdm
