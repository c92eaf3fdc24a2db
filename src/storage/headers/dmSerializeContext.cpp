#include "storage/headers/dmSerializeContext.h"

#include "common/exceptions.h"
#include "platform/text/datetime.h"
#include "storage/archive/su_CArchive.h"

#include <atomic>

namespace kvdm {

namespace {

constinit std::atomic<dmSerializeContext::Clock> presentClock{nullptr};

} // namespace

dmSerializeContext::dmSerializeContext(su_CArchive& forArchive, int documentVersion, unsigned timeFlags)
    : version(documentVersion), flags(timeFlags), archive(forArchive), outer(forArchive.context)
{
    archive.context = this;
}

dmSerializeContext::~dmSerializeContext()
{
    archive.context = outer;
}

dmSerializeContext& dmSerializeContext::of(su_CArchive& archive)
{
    if (!archive.context)
        throw suFileException(suFileException::generic, -1, archive.m_strFileName);
    return *archive.context;
}

std::int64_t dmSerializeContext::presentTime()
{
    const Clock clock = presentClock;
    return clock ? clock() : presentSeconds();
}

void dmSerializeContext::setClock(Clock clock) noexcept
{
    presentClock = clock;
}

std::int64_t readTime(su_CArchive& archive)
{
    const auto seconds = archive.read<std::uint32_t>();
    return seconds == 0xFFFFFFFF ? -1 : std::int64_t{seconds};
}

void writeTime(su_CArchive& archive, std::int64_t time)
{
    archive << static_cast<std::uint32_t>(time);
}

} // namespace kvdm
