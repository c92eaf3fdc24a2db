#include "storage/headers/moExtObject_c.h"

#include "storage/archive/su_CArchive.h"
#include "storage/headers/dmSerializeContext.h"

namespace kvdm {

void moExtObject_c::SetPath(std::u16string path)
{
    if (!fileDef)
        fileDef = std::make_shared<moObjFileDef_c>();
    fileDef->setPath(std::move(path));
}

std::u16string moExtObject_c::GetFileName() const
{
    const std::u16string path = getPath();
    return path.substr(path.rfind(u'\\') + 1); // npos + 1 is 0: a path without a backslash is a name
}

void moExtObject_c::serialize(su_CArchive& archive)
{
    const dmSerializeContext& context = dmSerializeContext::of(archive);
    const bool hasSpareWord = !context.from(69);
    if (archive.IsStoring()) {
        archive.WriteObject(fileDef);
        archive << objectId;
        if (hasSpareWord)
            archive << std::uint16_t{0};
        archive << documentType;
        if (context.from(99))
            archive << externalCount;
        if (context.from(109))
            archive << inContextCount;
        if (context.from(2270)) {
            archive << stampVersion;
            stamp.serialize(archive);
        }
        if (context.from(2769))
            archive << brokenCount;
        if (context.from(3478))
            archive << isVirtual;
        return;
    }
    const std::shared_ptr<su_CObject> file = archive.ReadObject();
    fileDef = objectAs<moObjFileDef_c>(file);
    if (file && !fileDef)
        throw suFileException(suFileException::generic, -1, archive.m_strFileName);
    archive >> objectId;
    if (hasSpareWord)
        archive.read<std::uint16_t>();
    archive >> documentType;
    if (context.from(99))
        archive >> externalCount;
    if (context.from(109))
        archive >> inContextCount;
    if (context.from(2270)) {
        archive >> stampVersion;
        stamp.serialize(archive);
    }
    if (context.from(2769))
        archive >> brokenCount;
    if (context.from(3478))
        archive >> isVirtual;
}

} // namespace kvdm
