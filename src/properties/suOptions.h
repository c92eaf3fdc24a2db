// The general option source: named switches that a process, its environment or the system's registry turns on.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace kvdm {

// The three places of a Windows registry where options stand. Each answers empty when the value is not there.
class suOptionRegistry
{
public:
    virtual std::optional<std::u16string> machineEnvironment(std::u16string_view variable) const = 0; // of the session manager
    virtual std::optional<std::uint32_t> programOption(std::u16string_view name) const = 0;           // the program's options key
    virtual std::optional<std::u16string> generalValue(std::u16string_view name) const = 0;           // the product's "General" key

protected:
    ~suOptionRegistry() = default;
};

// The registry to be asked, which must outlive its use; null, as it is at the start, where the system has none.
void setOptionRegistry(const suOptionRegistry* registry) noexcept;

// The process table of overrides, which is asked first. Names compare without regard to case.
void setOptionOverride(std::u16string_view name, bool value);
void clearOptionOverrides();

// Asks the sources in their order: overrides, the variable KESTROVANE_DUMP_OPTS, the registry. False when none knows it.
bool isOptionSet(std::u16string_view name);

// The option USE_WINDOWS_EXPLORER_PROPERTIES: names in property sets are UTF-8 whatever their code page says. Looked up
// once; a change of the overrides makes it be looked up again.
bool useWindowsExplorerProperties();

} // namespace kvdm
