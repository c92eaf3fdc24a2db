// Where a custom property stands: with the document, visible or not, or with one of its configurations.
#pragma once

#include "client.h"

#include <CLI/CLI.hpp>

#include <memory>

namespace kvdm::tool {

struct PropertyPlace
{
    bool invisible = false;
    std::string configuration; // empty for the document
};

// --invisible and --config, which exclude each other.
void addPlaceOptions(CLI::App& command, PropertyPlace& place);

// The operations of the interface behind a place. A Failure when the document has no such configuration.
class PropertyFace
{
public:
    static std::unique_ptr<PropertyFace> of(const Document& document, const PropertyPlace& place);
    virtual ~PropertyFace() = default;

    virtual HRESULT add(BSTR name, KvDmCustomInfoType type, BSTR value, VARIANT_BOOL* added) = 0;
    virtual HRESULT get(BSTR name, KvDmCustomInfoType* type, BSTR* value) = 0;
    virtual HRESULT set(BSTR name, BSTR value) = 0;
    virtual HRESULT remove(BSTR name, VARIANT_BOOL* deleted) = 0;
    virtual std::vector<Property> list() = 0;
};

} // namespace kvdm::tool
