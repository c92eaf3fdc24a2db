// The internal object behind one configuration wrapper.
#pragma once

#include "properties/suPropertyStore_c.h"
#include "storage/headers/dmConfigHeader_c.h"
#include "storage/headers/suConfigurationProperties.h"

#include <kvdocmgr/kvdocmgr.h>

#include <array>
#include <deque>
#include <string>

namespace kvdm {

class CKvDMConfiguration;
class dmDocument_c;

// The properties of a configuration, as its record in the header keeps them.
class dmConfigurationProperties final : public suConfigurationProperties
{
public:
    void load(IStorage& rootStorage, const std::u16string& name) override { store.Read(rootStorage, name); }
    bool save(IStorage& rootStorage, const std::u16string& name) override { return store.Write(rootStorage, name); }
    // A stream that did not read whole is kept, so that a save loses nothing of it.
    bool hasAny() const override { return store.hasUserProperties() || store.isLeftAlone(); }

    suPropertyStore_c store{false};
};

// Owned by the core, in liveConfigurations while its wrapper exists and in retiredConfigurations afterwards. The record
// belongs to the core's configuration manager header.
class dmConfiguration_c
{
public:
    // Takes the first record of that name, case aside, and reads its properties.
    dmConfiguration_c(dmDocument_c& document, std::u16string_view name);

    dmDocument_c& getDocumentCore() const noexcept { return *core; }
    dmConfigHeader_c* getHeader() const noexcept { return header; }

    std::u16string getName() const { return header ? header->name : std::u16string(); }
    std::u16string getStreamName() const { return header ? header->getConfigurationNodeName() : std::u16string(); }
    LONG getStamp() const noexcept { return header ? header->lastUpdateStamp : 0; }
    std::u16string getParentName() const;
    bool isDeleted() const noexcept;
    // The active configuration ignores it.
    void setDeleted(bool deleted) noexcept;
    suPropertyStore_c* getCustomProperties() const noexcept;

    // The 13 figures of the last save, in stored order; their meaning is the writer's.
    KvDmMassPropError getMassProperties(std::array<double, 13>& figures) const;

    // False when the configuration has none.
    bool getPreviewStreamName(std::u16string& name) const;
    bool getPNGPreviewStreamName(std::u16string& name) const;
    bool getPartitionStreamName(std::u16string& name) const;

    // Finds the body streams, which getBody then indexes.
    LONG getBodiesCount();
    LONG getImportedBodiesCount();
    KvDmBodyError getBody(LONG index, std::u16string_view fileName);
    KvDmBodyError getImportedBody(LONG index, std::u16string_view fileName);
    KvDmBodyError getPartitionStream(std::u16string_view fileName);

    CKvDMConfiguration* wrapper = nullptr; // created at first need, not counted

private:
    std::u16string iContainerName() const; // of the body streams

    dmConfigHeader_c* header = nullptr;
    std::deque<std::u16string> bodyStreamNames;
    bool bodiesCounted = false;
    dmDocument_c* core;
};

} // namespace kvdm
