#include "storage/archive/stringCollections.h"

#include "storage/archive/su_CArchive.h"

namespace kvdm {

void suStringSequence::serialize(su_CArchive& archive)
{
    if (archive.IsStoring()) {
        archive.WriteCount(elements.size());
        for (const std::u16string& text : elements)
            archive << text;
        return;
    }
    const std::uint32_t count = archive.ReadCount();
    archive.requireBytes(count, 1);
    elements.clear();
    for (std::uint32_t i = 0; i < count; ++i)
        elements.push_back(archive.ReadString());
}

} // namespace kvdm
