#include "automation/dmConfiguration_c.h"

#include "automation/dmDocument_c.h"
#include "automation/previews.h"
#include "common/decimalNumber.h"
#include "platform/text/casing.h"
#include "properties/suDocumentProperties_c.h"
#include "storage/suStructuredStorage.h"

#include <algorithm>
#include <charconv>
#include <limits>

namespace kvdm {

namespace {

constexpr int firstVersionWithMassProperties = 2286;
constexpr int firstVersionWithPartition = 2270;

// from_chars says of a number out of range neither that it is too large nor too small: the place of its first digit tells.
bool isTooSmall(std::string_view number, bool hexadecimal)
{
    constexpr long long farAway = 1000000000000;
    const std::size_t mark = std::min(number.find_first_of(hexadecimal ? "pP" : "eE"), number.size());
    const std::string_view digits = number.substr(0, mark);
    const auto point = static_cast<long long>(std::min(digits.find('.'), digits.size()));
    const auto first = static_cast<long long>(std::min(digits.find_first_not_of("0."), digits.size()));
    std::string_view power = number.substr(std::min(mark + 1, number.size()));
    power.remove_prefix(power.starts_with('+') ? 1 : 0);
    long long exponent = 0;
    if (std::from_chars(power.data(), power.data() + power.size(), exponent).ec == std::errc::result_out_of_range)
        exponent = power.starts_with('-') ? -farAway : farAway;
    return (point - first) * (hexadecimal ? 4 : 1) + std::clamp(exponent, -farAway, farAway) < 0;
}

// The number that the text begins with, as the C library reads it; 0 when it begins with none.
double realOf(std::u16string_view text)
{
    while (!text.empty() && isBlankUnit(text.front()))
        text.remove_prefix(1);
    const bool negative = text.starts_with(u'-');
    if (negative || text.starts_with(u'+'))
        text.remove_prefix(1);
    std::string plain;
    for (const char16_t unit : text)
        plain += unit < 0x80 ? static_cast<char>(unit) : '\0';
    const bool hexadecimal = plain.size() > 2 && plain[0] == '0' && (plain[1] == 'x' || plain[1] == 'X');
    const char* begin = plain.data() + (hexadecimal ? 2 : 0);
    const char* end = plain.data() + plain.size();
    if (begin != end && *begin == '-')
        return 0; // a second sign
    double number = 0;
    const auto format = hexadecimal ? std::chars_format::hex : std::chars_format::general;
    const std::from_chars_result result = std::from_chars(begin, end, number, format);
    if (result.ec == std::errc::invalid_argument)
        return 0; // no number, and none below zero either
    if (result.ec == std::errc::result_out_of_range)
        number = isTooSmall({begin, static_cast<std::size_t>(result.ptr - begin)}, hexadecimal) ? 0 : std::numeric_limits<double>::infinity();
    return negative ? -number : number;
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
    return header && header->configurationKind == dmConfigHeader_c::kindDeleted;
}

void dmConfiguration_c::setDeleted(bool deleted) noexcept
{
    if (header && header->configurationKind != dmConfigHeader_c::kindActive)
        header->configurationKind = deleted ? dmConfigHeader_c::kindDeleted : dmConfigHeader_c::kindOther;
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
