#include "automation/dmConfiguration_c.h"

#include "automation/dmDocument_c.h"
#include "automation/previews.h"
#include "platform/text/casing.h"
#include "properties/suDocumentProperties_c.h"
#include "storage/suStructuredStorage.h"

#include <charconv>

namespace kvdm {

namespace {

constexpr std::int32_t kindActive = 1;
constexpr std::int32_t kindDeleted = 2;
constexpr int firstVersionWithMassProperties = 2286;
constexpr int firstVersionWithPartition = 2270;

// The number that the text begins with, as the C library reads it; 0 when it begins with none.
double realOf(std::u16string_view text)
{
    std::string plain;
    for (const char16_t unit : text)
        plain += unit < 0x80 ? static_cast<char>(unit) : '\0';
    const char* begin = plain.data();
    const char* end = begin + plain.size();
    while (begin != end && (*begin == ' ' || (*begin >= '\t' && *begin <= '\r')))
        ++begin;
    if (begin != end && *begin == '+' && begin + 1 != end && begin[1] != '-')
        ++begin;
    double number = 0;
    std::from_chars(begin, end, number);
    return number;
}

} // namespace

dmConfiguration_c::dmConfiguration_c(dmDocument_c& document, std::u16string_view name) : core(&document)
{
    if (const dmConfigMgrHeader_c* manager = core->getConfigMgrHeader()) {
        for (dmConfigHeader_c* record : manager->configurations()) {
            if (record && equalNoCase(record->name, name)) {
                header = record;
                break;
            }
        }
    }
    if (const ComPtr<IStorage> storage = core->getStorage(); storage && header) {
        suStructuredStorage wrapped(storage.get());
        header->loadProperties(wrapped);
    }
}

std::u16string dmConfiguration_c::getParentName() const
{
    const dmConfigMgrHeader_c* manager = core->getConfigMgrHeader();
    if (!manager || !header)
        return {};
    for (const dmConfigHeader_c* record : manager->configurations())
        if (record && record->configurationId == header->parentId)
            return record->name;
    return {};
}

bool dmConfiguration_c::isDeleted() const noexcept
{
    return header && header->configurationKind == kindDeleted;
}

void dmConfiguration_c::setDeleted(bool deleted) noexcept
{
    if (header && header->configurationKind != kindActive)
        header->configurationKind = deleted ? kindDeleted : 0;
}

suPropertyStore_c* dmConfiguration_c::getCustomProperties() const noexcept
{
    auto* properties = header ? static_cast<dmConfigurationProperties*>(header->getProperties()) : nullptr;
    return properties ? &properties->store : nullptr;
}

KvDmMassPropError dmConfiguration_c::getMassProperties(std::array<double, 13>& figures) const
{
    figures.fill(0);
    const ComPtr<IStorage> storage = header ? core->getStorage() : nullptr;
    if (!storage)
        return kvDmMassPropErrorUnknown;
    if (suStructuredStorage(storage.get()).loadVersion() < firstVersionWithMassProperties)
        return kvDmMassPropErrorEarlierVersion;
    const suPropertyStore_c* store = core->getCustomProperties(false);
    if (!store)
        return kvDmMassPropErrorUnknown;
    std::u16string value;
    std::uint32_t type = 0;
    if (!store->GetCustomProperty(u"KV-MassProp-" + getStreamName(), type, value))
        return kvDmMassPropErrorNoData;
    std::u16string_view rest = value;
    for (double& figure : figures) {
        const std::size_t comma = rest.find(u',');
        if (comma == std::u16string_view::npos)
            break; // what stands behind the last comma is dropped
        figure = realOf(rest.substr(0, comma));
        rest.remove_prefix(comma + 1);
    }
    return kvDmMassPropErrorNone;
}

bool dmConfiguration_c::getPreviewStreamName(std::u16string& name) const
{
    return header && getPreviewName(*core, header, PreviewForm::bitmap, name);
}

bool dmConfiguration_c::getPNGPreviewStreamName(std::u16string& name) const
{
    return header && getPreviewName(*core, header, PreviewForm::png, name);
}

bool dmConfiguration_c::getPartitionStreamName(std::u16string& name) const
{
    const ComPtr<IStorage> storage = core->getStorage();
    if (!storage || !header || suStructuredStorage(storage.get()).loadVersion() < firstVersionWithPartition)
        return false;
    name = getStreamName() + u"-Partition";
    return true;
}

} // namespace kvdm
