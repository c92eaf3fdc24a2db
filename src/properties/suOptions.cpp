#include "properties/suOptions.h"

#include "platform/files/files.h"
#include "platform/text/casing.h"

#include <atomic>
#include <map>

namespace kvdm {

namespace {

constexpr std::u16string_view optionsVariable = u"KESTROVANE_DUMP_OPTS";
constexpr int unknown = -1;

// Process-wide. A host sets registry and overrides before it opens documents; documents of several threads ask at once.
struct OptionSources
{
    std::map<std::u16string, bool, LessNoCase> overrides;
    const suOptionRegistry* registry = nullptr;
    std::atomic<int> explorerProperties{unknown};
};

OptionSources& sources()
{
    static OptionSources instance;
    return instance;
}

bool holds(const std::optional<std::u16string>& text, std::u16string_view name)
{
    return text && text->find(name) != std::u16string::npos;
}

} // namespace

void setOptionRegistry(const suOptionRegistry* registry) noexcept
{
    sources().registry = registry;
    sources().explorerProperties = unknown;
}

void setOptionOverride(std::u16string_view name, bool value)
{
    sources().overrides.insert_or_assign(std::u16string(name), value);
    sources().explorerProperties = unknown;
}

void clearOptionOverrides()
{
    sources().overrides.clear();
    sources().explorerProperties = unknown;
}

bool isOptionSet(std::u16string_view name)
{
    const OptionSources& from = sources();
    if (const auto known = from.overrides.find(name); known != from.overrides.end())
        return known->second;
    if (holds(environmentVariable(optionsVariable), name))
        return true;
    if (!from.registry)
        return false;
    if (holds(from.registry->machineEnvironment(optionsVariable), name))
        return true;
    if (const auto value = from.registry->programOption(name))
        return *value != 0;
    return holds(from.registry->generalValue(optionsVariable), name);
}

bool useWindowsExplorerProperties()
{
    std::atomic<int>& answer = sources().explorerProperties;
    int known = answer;
    if (known == unknown)
        answer = known = isOptionSet(u"USE_WINDOWS_EXPLORER_PROPERTIES") ? 1 : 0;
    return known != 0;
}

} // namespace kvdm
