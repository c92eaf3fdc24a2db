// What the document answers from its header and its properties.
#include "automation/CKvDMApplication.h"
#include "automation/dmConfiguration_c.h"
#include "automation/dmDocument_c.h"
#include "common/decimalNumber.h"
#include "common/exceptions.h"
#include "properties/suDocumentProperties_c.h"
#include "properties/suPropertyStore_c.h"

#include <algorithm>
#include <iterator>

namespace kvdm {

namespace {

constexpr LONG firstVersionWithDetachedFlag = 1281;
constexpr LONG firstVersionWithSmartFlag = 2850;
constexpr LONG firstVersionWithInstanceTree = 3800;
constexpr std::uint32_t smartComponentFlag = 2;

std::u16string_view trimmed(std::u16string_view text)
{
    while (!text.empty() && isBlankUnit(text.front()))
        text.remove_prefix(1);
    while (!text.empty() && isBlankUnit(text.back()))
        text.remove_suffix(1);
    return text;
}

} // namespace

suPropertyStore_c* dmDocument_c::getCustomProperties(bool visible)
{
    suDocumentProperties_c* holder = getProperties();
    return holder ? &holder->getStore(visible) : nullptr;
}

std::u16string dmDocument_c::invisibleValue(std::u16string_view name)
{
    std::u16string value;
    std::uint32_t type = 0;
    if (suPropertyStore_c* store = getCustomProperties(false))
        store->GetCustomProperty(name, type, value);
    return value;
}

LONG dmDocument_c::getLastUpdateStamp()
{
    const moHeader_c* read = getHeader();
    return read ? static_cast<LONG>(read->lastUpdateStamp) : 0;
}

bool dmDocument_c::isDetachedDrawing(bool& detached)
{
    detached = false;
    const moHeader_c* read = getHeader();
    if (!read || fileVersion < firstVersionWithDetachedFlag)
        return false;
    detached = read->detachedDrawingFlag == 1;
    return true;
}

bool dmDocument_c::isSmartComponentDocument(bool& smart)
{
    smart = false;
    const moHeader_c* read = getHeader();
    if (!read || fileVersion < firstVersionWithSmartFlag)
        return false;
    smart = (read->modelFlags & smartComponentFlag) != 0;
    return true;
}

std::vector<std::u16string> dmDocument_c::getLinkedAttachments()
{
    const moHeader_c* read = getHeader();
    return read && read->linkedAttachments ? read->linkedAttachments->elements : std::vector<std::u16string>();
}

LONG dmDocument_c::getComponentCount()
{
    LONG version = -1;
    getFileVersion(version);
    if (version >= firstVersionWithInstanceTree) {
        componentCount = -1; // no instance tree is read
        return componentCount;
    }
    const moHeader_c* read = getHeader();
    return read && hasDocumentExtension(fullPath, false, false, true) ? static_cast<LONG>(read->componentCount) : -1;
}

KvDmToolboxPartType dmDocument_c::getToolboxPart()
{
    return static_cast<KvDmToolboxPartType>(decimalNumber(invisibleValue(u"IsToolboxPart")));
}

void dmDocument_c::setToolboxPart(KvDmToolboxPartType type)
{
    suPropertyStore_c* store = getCustomProperties(false);
    if (!store)
        return;
    const std::u16string value = decimalText(static_cast<LONG>(type));
    if (!store->SetCustomProperty(u"IsToolboxPart", value))
        store->AddCustomProperty(u"IsToolboxPart", kvDmCustomInfoNumber, value);
}

LONG dmDocument_c::getSheetCount()
{
    const std::u16string value = invisibleValue(u"KV-Total Sheets");
    return value.empty() ? -1 : decimalNumber(value);
}

std::u16string dmDocument_c::getActiveSheetName()
{
    return invisibleValue(u"KV-Sheet Name");
}

// Each name ends with "@"; what stands behind the last one is dropped.
bool dmDocument_c::getSheetNames(std::vector<std::u16string>& names)
{
    suPropertyStore_c* store = getCustomProperties(false);
    std::u16string all;
    std::uint32_t type = 0;
    if (!store || !store->GetCustomProperty(u"KV-All Sheet Names", type, all))
        return false;
    std::u16string_view rest = all;
    for (std::size_t end = rest.find(u'@'); end != std::u16string_view::npos; end = rest.find(u'@')) {
        names.emplace_back(trimmed(rest.substr(0, end)));
        rest.remove_prefix(end + 1);
    }
    return true;
}

// Nothing is emptied first: every further call appends the stored links once more. Clients know the grown count.
LONG dmDocument_c::getHyperLinksCount()
{
    if (suDocumentProperties_c* holder = getProperties()) {
        std::vector<std::u16string> saved;
        std::vector<std::u16string> current;
        holder->GetLinkLists(saved, &current);
        lastSavedLinkNames.reserve(lastSavedLinkNames.size() + saved.size()); // all or nothing: the copies must stay in step
        currentLinkNames.reserve(currentLinkNames.size() + current.size());
        std::move(saved.begin(), saved.end(), std::back_inserter(lastSavedLinkNames));
        std::move(current.begin(), current.end(), std::back_inserter(currentLinkNames));
        storedLinks = current.size();
        return static_cast<LONG>(lastSavedLinkNames.size());
    }
    return 0;
}

bool dmDocument_c::getHyperLinkAt(LONG at, std::u16string& link) const
{
    if (at < 0)
        throw suInvalidArgumentException();
    if (static_cast<std::size_t>(at) >= lastSavedLinkNames.size())
        return false;
    link = lastSavedLinkNames[static_cast<std::size_t>(at)];
    return true;
}

bool dmDocument_c::modifyHyperLinkAt(LONG at, std::u16string_view link)
{
    if (at < 0)
        throw suInvalidArgumentException();
    if (static_cast<std::size_t>(at) >= currentLinkNames.size())
        return false;
    std::u16string changed(link);
    linkChanges.emplace_back(static_cast<std::size_t>(at), changed);
    currentLinkNames[static_cast<std::size_t>(at)] = std::move(changed);
    return true;
}

} // namespace kvdm
