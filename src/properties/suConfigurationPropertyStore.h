// The property set of a configuration, as its record in the configuration manager header holds it.
#pragma once

#include "properties/suPropertyStore_c.h"
#include "storage/headers/suConfigurationProperties.h"

#include <memory>
#include <string>

namespace kvdm {

class suConfigurationPropertyStore final : public suConfigurationProperties
{
public:
    void load(IStorage& rootStorage, const std::u16string& name) override { store.Read(rootStorage, name); }
    void save(IStorage& rootStorage, const std::u16string& name) override { store.Write(rootStorage, name); }
    // A stream that could not be read whole counts as one with properties: saving leaves it alone, and it is not removed.
    bool hasAny() const override { return store.isLeftAlone() || store.hasUserProperties(); }

    suPropertyStore_c store{false};
};

// For setConfigurationPropertiesFactory.
inline std::unique_ptr<suConfigurationProperties> makeConfigurationPropertyStore()
{
    return std::make_unique<suConfigurationPropertyStore>();
}

} // namespace kvdm
