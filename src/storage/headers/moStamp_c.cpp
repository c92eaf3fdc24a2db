#include "storage/headers/moStamp_c.h"

#include "platform/files/files.h"
#include "storage/archive/su_CArchive.h"
#include "storage/headers/dmSerializeContext.h"

namespace kvdm {

namespace {

constexpr std::size_t longestUserName = 30;

} // namespace

const std::u16string& moStamp_c::presentUserName()
{
    static const std::u16string name = [] {
        const std::optional<std::u16string> user = userName();
        return user && !user->empty() && user->size() <= longestUserName ? *user : std::u16string(u"NONAME");
    }();
    return name;
}

moStamp_c moStamp_c::forPresentUser()
{
    moStamp_c stamp;
    stamp.stampName = presentUserName();
    return stamp;
}

void moStamp_c::serialize(su_CArchive& archive)
{
    (void)dmSerializeContext::of(archive);
    if (archive.IsStoring()) {
        archive << static_cast<std::uint16_t>(stampValue1) << static_cast<std::uint16_t>(stampValue2) << static_cast<std::uint16_t>(stampValue3);
        writeTime(archive, stampTime);
        archive << stampName;
    } else {
        stampValue1 = archive.read<std::uint16_t>();
        stampValue2 = archive.read<std::uint16_t>();
        stampValue3 = archive.read<std::uint16_t>();
        stampTime = readTime(archive);
        archive >> stampName;
    }
}

} // namespace kvdm
