// One configuration as the configuration manager header lists it.
#pragma once

#include "storage/archive/su_CObject.h"
#include "storage/headers/suConfigurationProperties.h"

#include <cstdint>
#include <memory>
#include <string>

namespace kvdm {

class suStructuredStorage;

// Its serialize needs a context with a version above 0.
class dmConfigHeader_c final : public suPersistent<dmConfigHeader_c>
{
public:
    static constexpr std::string_view streamName = "dmConfigHeader_c";
    enum Kind : std::int32_t
    {
        kindOther = 0,
        kindActive = 1,
        kindDeleted = 2
    };

    void serialize(su_CArchive& archive) override;

    std::u16string getConfigurationNodeName() const; // "Config-" and the id
    // Makes and reads the property set, once.
    void loadProperties(suStructuredStorage& storage);
    // Writes the property set when there is one with properties; an empty one removes the stream. Throws suFileException when
    // the stream could not be written or removed: a save must not go on as if it were.
    void saveProperties(suStructuredStorage& storage);
    // Null before loadProperties.
    suConfigurationProperties* getProperties() const noexcept { return properties.get(); }

    std::int32_t configurationKind = kindDeleted; // a Kind; other numbers of a file are kept
    std::u16string name;
    std::int32_t configurationId = 0;
    std::int32_t lastUpdateStamp = 0; // from 1341
    std::u16string description;       // from 2037
    std::int32_t parentId = -1;       // from 2037; -1: none
    std::int32_t value2136 = 0;       // from 2136
    std::u16string comment;           // from 2610
    std::u16string alternateName;     // from 2610

private:
    std::unique_ptr<suConfigurationProperties> properties;
};

} // namespace kvdm
