// What a configuration's record needs of the room of the properties, which lies above this one.
#pragma once

#include <memory>
#include <string>

struct IStorage;

namespace kvdm {

// The property set of one configuration.
class suConfigurationProperties
{
public:
    virtual ~suConfigurationProperties() = default;

    // Reads the stream of this name; a missing one leaves the set empty.
    virtual void load(IStorage& rootStorage, const std::u16string& name) = 0;
    // False, or a file exception, when the stream was not written.
    virtual bool save(IStorage& rootStorage, const std::u16string& name) = 0;
    virtual bool hasAny() const = 0;
};

// How sets are made. The document core supplies it when the first of its kind is made; without one configurations have no
// properties.
using suConfigurationPropertiesFactory = std::unique_ptr<suConfigurationProperties> (*)();
void setConfigurationPropertiesFactory(suConfigurationPropertiesFactory factory) noexcept;
std::unique_ptr<suConfigurationProperties> makeConfigurationProperties();

} // namespace kvdm
