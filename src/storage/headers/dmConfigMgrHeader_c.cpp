#include "storage/headers/dmConfigMgrHeader_c.h"

#include "storage/archive/su_CArchive.h"
#include "storage/headers/dmSerializeContext.h"

namespace kvdm {

void dmConfigMgrHeader_c::serialize(su_CArchive& archive)
{
    const dmSerializeContext& context = dmSerializeContext::of(archive);
    const bool hasReferencedList = context.within(3028, 3326);
    configHeaders.serialize(archive);
    if (archive.IsStoring()) {
        if (hasReferencedList) {
            archive << static_cast<std::uint32_t>(referencedList.size());
            for (const auto& record : referencedList)
                archive.WriteObject(record);
        }
        return;
    }
    referencedList.clear();
    if (hasReferencedList) {
        const auto count = archive.read<std::uint32_t>();
        archive.requireBytes(count, 2);
        for (std::uint32_t i = 0; i < count; ++i) {
            archive.countParts();
            referencedList.push_back(archive.ReadObjectOf<moExtObject_c>());
        }
    }
    activeValue = context.from(1282) ? -1 : 0;
}

void dmConfigMgrHeader_c::releaseReferences() noexcept
{
    configHeaders.releaseReferences();
    referencedList.clear();
}

} // namespace kvdm
