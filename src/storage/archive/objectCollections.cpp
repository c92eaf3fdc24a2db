#include "storage/archive/objectCollections.h"

#include "storage/archive/su_CArchive.h"

namespace kvdm {

void suObjectSequence::serialize(su_CArchive& archive)
{
    if (archive.IsStoring()) {
        const std::size_t count = elements.size();
        archive.WriteCount(count);
        for (std::size_t i = 0; i < count && elements.size() == count; ++i)
            archive.WriteObject(std::shared_ptr<su_CObject>(elements[i])); // held: its serialize may change this list
        if (elements.size() != count)
            throw suFileException(suFileException::generic, -1, archive.m_strFileName);
        return;
    }
    const std::uint32_t count = archive.ReadCount();
    archive.requireBytes(count, 2);
    elements.clear();
    for (std::uint32_t i = 0; i < count; ++i) {
        archive.countParts();
        elements.push_back(archive.ReadObject());
    }
}

} // namespace kvdm
