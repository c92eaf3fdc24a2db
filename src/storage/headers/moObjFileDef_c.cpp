#include "storage/headers/moObjFileDef_c.h"

#include "platform/text/casing.h"
#include "storage/archive/su_CArchive.h"
#include "storage/headers/dmSerializeContext.h"

namespace kvdm {

void moObjFileDef_c::setPath(std::u16string path)
{
    pathName = std::move(path);
    if (equalNoCase(std::u16string_view(pathName).substr(0, 4), u"http")) {
        webPath = pathName;
        flags |= webPathFlag;
    } else {
        webPath.clear();
        flags &= ~webPathFlag;
    }
}

void moObjFileDef_c::serialize(su_CArchive& archive)
{
    const dmSerializeContext& context = dmSerializeContext::of(archive);
    const bool hasSpareWord = context.within(1249, 1270);
    if (archive.IsStoring()) {
        archive << fileName << typeCode << (isWebPath() ? webPath : pathName);
        if (hasSpareWord)
            archive << std::uint32_t{0};
        if (context.from(2038))
            archive << timeStamp;
    } else {
        archive >> fileName >> typeCode;
        setPath(archive.ReadString());
        if (hasSpareWord)
            archive.read<std::uint32_t>();
        timeStamp = context.from(2038) ? archive.read<std::uint32_t>() : static_cast<std::uint32_t>(dmSerializeContext::presentTime());
    }
}

} // namespace kvdm
