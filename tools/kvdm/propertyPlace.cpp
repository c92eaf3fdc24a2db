#include "propertyPlace.h"

namespace kvdm::tool {

namespace {

// A document and a configuration have the same methods.
template <class Owner> class VisibleFace final : public PropertyFace
{
public:
    explicit VisibleFace(ComPtr<Owner> interface) : owner(std::move(interface)) {}

    HRESULT add(BSTR name, KvDmCustomInfoType type, BSTR value, VARIANT_BOOL* added) override
    {
        return owner->AddCustomProperty(name, type, value, added);
    }
    HRESULT get(BSTR name, KvDmCustomInfoType* type, BSTR* value) override { return owner->GetCustomProperty(name, type, value); }
    HRESULT set(BSTR name, BSTR value) override { return owner->SetCustomProperty(name, value); }
    HRESULT remove(BSTR name, VARIANT_BOOL* deleted) override { return owner->DeleteCustomProperty(name, deleted); }
    std::vector<Property> list() override { return customProperties(*owner); }

private:
    ComPtr<Owner> owner;
};

class InvisibleFace final : public PropertyFace
{
public:
    explicit InvisibleFace(ComPtr<IKvDMDocument12> interface) : owner(std::move(interface)) {}

    HRESULT add(BSTR name, KvDmCustomInfoType type, BSTR value, VARIANT_BOOL* added) override
    {
        return owner->AddInvisibleCustomProperty(name, type, value, added);
    }
    HRESULT get(BSTR name, KvDmCustomInfoType* type, BSTR* value) override { return owner->GetInvisibleCustomProperty(name, type, value); }
    HRESULT set(BSTR name, BSTR value) override { return owner->SetInvisibleCustomProperty(name, value); }
    HRESULT remove(BSTR name, VARIANT_BOOL* deleted) override { return owner->DeleteInvisibleCustomProperty(name, deleted); }
    std::vector<Property> list() override { return invisibleProperties(*owner); }

private:
    ComPtr<IKvDMDocument12> owner;
};

} // namespace

void addPlaceOptions(CLI::App& command, PropertyPlace& place)
{
    CLI::Option* invisible = command.add_flag("--invisible", place.invisible, "Properties that no property page shows");
    command.add_option("--config", place.configuration, "Properties of the configuration of that name")->excludes(invisible);
}

std::unique_ptr<PropertyFace> PropertyFace::of(const Document& document, const PropertyPlace& place)
{
    if (!place.configuration.empty())
        return std::make_unique<VisibleFace<IKvDMConfiguration9>>(document.configuration(place.configuration));
    const auto owner = ComPtr<IKvDMDocument12>::share(&*document);
    if (place.invisible)
        return std::make_unique<InvisibleFace>(owner);
    return std::make_unique<VisibleFace<IKvDMDocument12>>(owner);
}

} // namespace kvdm::tool
