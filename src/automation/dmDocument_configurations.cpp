// The configurations of a document: look-up, names, and the places of their internal objects.
#include "automation/CKvDMConfigurationMgr.h"
#include "automation/dmConfiguration_c.h"
#include "automation/dmDocument_c.h"
#include "platform/text/casing.h"

#include <algorithm>
#include <new>
#include <optional>

namespace kvdm {

LONG dmDocument_c::getConfigurationCount()
{
    const dmConfigMgrHeader_c* manager = getConfigMgrHeader();
    if (!manager)
        return -1;
    const auto records = manager->configurations();
    return static_cast<LONG>(std::count_if(records.begin(), records.end(), [](const dmConfigHeader_c* record) {
        return record && record->configurationKind != dmConfigHeader_c::kindDeleted;
    }));
}

bool dmDocument_c::getConfigurationNames(std::vector<std::u16string>& names)
{
    const dmConfigMgrHeader_c* manager = getConfigMgrHeader();
    if (!manager)
        return false;
    for (const dmConfigHeader_c* record : manager->configurations())
        if (record && record->configurationKind != dmConfigHeader_c::kindDeleted)
            names.push_back(record->name);
    return true;
}

dmConfigHeader_c* dmDocument_c::getActiveConfigurationHeader()
{
    if (const dmConfigMgrHeader_c* manager = getConfigMgrHeader())
        for (dmConfigHeader_c* record : manager->configurations())
            if (record && record->configurationKind == dmConfigHeader_c::kindActive)
                return record;
    return nullptr;
}

std::u16string dmDocument_c::getActiveConfigurationName()
{
    const dmConfigHeader_c* active = getActiveConfigurationHeader();
    return active ? active->name : std::u16string();
}

// Exact in case, deleted records aside. The object is taken from the live ones, else from the retired ones, else made.
dmConfiguration_c* dmDocument_c::getConfiguration(std::u16string_view name)
{
    const dmConfigMgrHeader_c* manager = getConfigMgrHeader();
    if (!manager)
        return nullptr;
    const auto records = manager->configurations();
    const bool known = std::any_of(records.begin(), records.end(), [&](const dmConfigHeader_c* record) {
        return record && record->name == name && record->configurationKind != dmConfigHeader_c::kindDeleted;
    });
    if (!known)
        return nullptr;
    if (const auto* live = liveConfigurations.find(name))
        return live->get();
    if (retiredConfigurations.moveTo(liveConfigurations, name))
        return liveConfigurations.find(name)->get();
    return liveConfigurations.set(name, std::make_unique<dmConfiguration_c>(*this, name)).get();
}

bool dmDocument_c::isNewConfigurationName(std::u16string_view name)
{
    const dmConfigMgrHeader_c* manager = getConfigMgrHeader();
    if (!manager || name.empty() || name.find_first_of(u"@/") != std::u16string_view::npos)
        return false;
    const auto records = manager->configurations();
    return std::none_of(records.begin(), records.end(), [&](const dmConfigHeader_c* record) { return record && equalNoCase(record->name, name); });
}

HRESULT dmDocument_c::wrapConfigurationMgr(IKvDMConfigurationMgr** out)
{
    if (configMgrWrapper)
        return configMgrWrapper->QueryInterface(IID_IKvDMConfigurationMgr, reinterpret_cast<void**>(out));
    const ComPtr<CKvDMConfigurationMgr> made = makeObject<CKvDMConfigurationMgr>(*this);
    configMgrWrapper = made.get();
    return made->QueryInterface(IID_IKvDMConfigurationMgr, reinterpret_cast<void**>(out));
}

void dmDocument_c::releaseConfigMgrWrapper() noexcept
{
    configMgrWrapper = nullptr;
    iEndIfUnused();
}

// The live entry may stand under a name that the configuration no longer has, so it is found by its object.
void dmDocument_c::releaseConfiguration(dmConfiguration_c& configuration) noexcept
{
    configuration.wrapper = nullptr;
    const std::u16string* key = nullptr;
    liveConfigurations.forEach([&](const std::u16string& name, const std::unique_ptr<dmConfiguration_c>& live) {
        if (live.get() == &configuration)
            key = &name;
    });
    std::optional<std::u16string> presentName;
    try {
        presentName = configuration.getName();
    } catch (const std::bad_alloc&) {
        // It keeps its old key then: a live entry without a wrapper would keep the core for ever, and without the entry the
        // next save would not write its properties.
    }
    if (key)
        liveConfigurations.moveTo(retiredConfigurations, *key, std::move(presentName));
    iEndIfUnused();
}

} // namespace kvdm
