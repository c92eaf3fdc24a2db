#include "storage/headers/dmConfigHeader_c.h"

#include "common/decimalNumber.h"
#include "storage/archive/su_CArchive.h"
#include "storage/headers/dmSerializeContext.h"
#include "storage/suStructuredStorage.h"

namespace kvdm {

void dmConfigHeader_c::serialize(su_CArchive& archive)
{
    const dmSerializeContext& context = dmSerializeContext::of(archive);
    if (context.version <= 0)
        throw suFileException(suFileException::generic, -1, archive.m_strFileName);
    if (archive.IsStoring()) {
        archive << configurationKind << name << configurationId;
        if (context.from(1341))
            archive << lastUpdateStamp;
        if (context.from(2037))
            archive << description << parentId;
        if (context.from(2136))
            archive << value2136;
        if (context.from(2610))
            archive << comment << alternateName;
    } else {
        archive >> configurationKind >> name >> configurationId;
        if (context.from(1341))
            archive >> lastUpdateStamp;
        if (context.from(2037))
            archive >> description >> parentId;
        if (context.from(2136))
            archive >> value2136;
        if (context.from(2610))
            archive >> comment >> alternateName;
    }
}

std::u16string dmConfigHeader_c::getConfigurationNodeName() const
{
    return u"Config-" + decimalText(configurationId);
}

void dmConfigHeader_c::loadProperties(suStructuredStorage& storage)
{
    if (properties || !storage.getRootStorage())
        return;
    std::unique_ptr<suConfigurationProperties> made = makeConfigurationProperties();
    if (made)
        made->load(*storage.getRootStorage(), getConfigurationNodeName() + u"-Properties");
    properties = std::move(made); // a read that threw leaves none, so that the next one begins anew and a save writes nothing
}

void dmConfigHeader_c::saveProperties(suStructuredStorage& storage)
{
    if (!properties || !storage.getRootStorage())
        return;
    const std::u16string stream = getConfigurationNodeName() + u"-Properties";
    if (properties->hasAny()) {
        if (!properties->save(*storage.getRootStorage(), stream))
            throw suFileException(suFileException::generic, -1, stream);
    } else {
        storage.releaseChildStorage(); // the stream lies in the root
        const bool removed = storage.destroyNode(stream);
        storage.releaseStream(); // destroyNode leaves the form of the node behind, which this clears
        if (!removed)
            throw suFileException(suFileException::generic, -1, stream);
    }
}

} // namespace kvdm
