// The properties of reserved names: a document's link list and its lock.
#include "properties/suPropertyStore_c.h"

#include "platform/text/casing.h"
#include "platform/text/codepages.h"
#include "properties/propertyText.h"

#include <algorithm>

namespace kvdm {

namespace {

constexpr std::u16string_view linksName = u"_PID_HLINKS";
constexpr std::u16string_view lockName = u"_PID_LOCK";
constexpr std::u16string_view lockPersonName = u"_PID_LOCKPERSON";

constexpr std::uint32_t itemsPerLink = 6; // four numbers, the path, an empty text
constexpr std::uint32_t changedFlag = 0x20000;
constexpr std::uint32_t addedFlag = 0x10000;

void appendNumberItem(std::string& blob, std::uint32_t value)
{
    appendOleNumber(blob, std::uint32_t{VT_I4});
    appendOleNumber(blob, value);
}

void appendTextItem(std::string& blob, std::u16string_view text)
{
    text = text.substr(0, text.find(u'\0'));
    const std::size_t bytes = (text.size() + 1) * 2;
    appendOleNumber(blob, std::uint32_t{VT_LPWSTR});
    appendOleNumber(blob, static_cast<std::uint32_t>(text.size() + 1));
    blob.append(reinterpret_cast<const char*>(text.data()), text.size() * 2);
    blob.append(2 + (4 - bytes % 4) % 4, '\0');
}

std::uint32_t flagOf(const std::u16string& link, const std::u16string& other)
{
    return equalNoCase(link, other) ? 0 : other.empty() ? addedFlag : changedFlag;
}

} // namespace

void suPropertyStore_c::SetLinkList(const std::vector<std::u16string>& links, const std::vector<std::u16string>* others)
{
    if (others && others->size() != links.size())
        return;
    if (links.empty()) {
        const auto id = userSection->FindIdByName(linksName);
        if (id && *id >= 2 && userSection->RemoveProperty(*id))
            userSection->RemoveProperty(*id + companionOffset);
        return;
    }

    std::string items;
    appendOleNumber(items, static_cast<std::uint32_t>(itemsPerLink * links.size()));
    for (std::size_t i = 0; i < links.size(); ++i) {
        for (int reserved = 0; reserved < 3; ++reserved)
            appendNumberItem(items, 0);
        appendNumberItem(items, others ? flagOf(links[i], (*others)[i]) : 0);
        appendTextItem(items, links[i]);
        appendTextItem(items, {});
    }
    iSetReserved(linksName, oleBytes(static_cast<std::uint32_t>(items.size())) + items, VT_BLOB);
}

std::size_t suPropertyStore_c::GetLinkList(std::vector<std::u16string>& links) const
{
    bool isWhole = false;
    return iReadLinks(links, isWhole);
}

bool suPropertyStore_c::isLinkListWhole() const
{
    std::vector<std::u16string> links;
    bool isWhole = false;
    iReadLinks(links, isWhole);
    return isWhole;
}

std::size_t suPropertyStore_c::iReadLinks(std::vector<std::u16string>& links, bool& isWhole) const
{
    const suOleProperty* property = iFindReserved(linksName, VT_BLOB);
    isWhole = property || !userSection->FindIdByName(linksName);
    if (!property)
        return 0;
    isWhole = false;
    std::string_view rest = property->payload();
    rest.remove_prefix(std::min<std::size_t>(rest.size(), 8)); // the byte count and the item count

    std::size_t count = 0;
    bool first = true;
    while (rest.size() >= 4) {
        const auto type = oleNumber<std::uint32_t>(rest.data());
        if (type == VT_EMPTY || type == VT_I4) {
            rest.remove_prefix(std::min<std::size_t>(rest.size(), type == VT_EMPTY ? 4 : 8));
            continue;
        }
        if (type != VT_LPWSTR)
            return 0;
        if (rest.size() < 8)
            return count;
        const std::uint64_t units = oleNumber<std::uint32_t>(rest.data() + 4);
        rest.remove_prefix(8);
        if (units * 2 > rest.size())
            return count;
        if (first) {
            std::u16string text(static_cast<std::size_t>(units), u'\0');
            std::memcpy(text.data(), rest.data(), text.size() * 2);
            links.push_back(text.substr(0, text.find(u'\0')));
            ++count;
        }
        first = !first;
        rest.remove_prefix(std::min<std::size_t>(rest.size(), (static_cast<std::size_t>(units) * 2 + 3) / 4 * 4));
    }
    isWhole = first; // each link has its second text
    return count;
}

void suPropertyStore_c::SetLock(std::int32_t value)
{
    iSetReserved(lockName, oleBytes(value), VT_I4);
}

std::optional<std::int32_t> suPropertyStore_c::GetLock() const
{
    const suOleProperty* property = iFindReserved(lockName, VT_I4);
    return property ? std::optional(oleNumber<std::int32_t>(property->payload().data())) : std::nullopt;
}

void suPropertyStore_c::SetLockPerson(std::u16string_view name)
{
    if (const auto value = TextToValue(name, VT_LPSTR, userSection->CodePage()))
        iSetReserved(lockPersonName, *value, VT_LPSTR);
}

std::optional<std::u16string> suPropertyStore_c::GetLockPerson() const
{
    const suOleProperty* property = iFindReserved(lockPersonName, VT_LPSTR);
    return property ? std::optional(ValueToText(property, userSection->CodePage())) : std::nullopt;
}

bool suPropertyStore_c::iSetReserved(std::u16string_view name, std::string_view value, std::uint32_t type)
{
    const auto known = userSection->FindIdByName(name);
    return userSection->SetProperty(known ? *known : userSection->NextFreeId(), value, type, name);
}

const suOleProperty* suPropertyStore_c::iFindReserved(std::u16string_view name, std::uint32_t type) const
{
    const auto id = userSection->FindIdByName(name);
    const suOleProperty* property = id ? userSection->findById(*id) : nullptr;
    return property && property->type == type ? property : nullptr;
}

} // namespace kvdm
