#include "storage/headers/suConfigurationProperties.h"

#include <atomic>

namespace kvdm {

namespace {

constinit std::atomic<suConfigurationPropertiesFactory> propertiesFactory{nullptr};

} // namespace

void setConfigurationPropertiesFactory(suConfigurationPropertiesFactory factory) noexcept
{
    propertiesFactory = factory;
}

std::unique_ptr<suConfigurationProperties> makeConfigurationProperties()
{
    const suConfigurationPropertiesFactory factory = propertiesFactory;
    return factory ? factory() : nullptr;
}

} // namespace kvdm
