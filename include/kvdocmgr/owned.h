// Owners of the automation values that cross the boundary: a BSTR and a VARIANT, freed by the functions that allocated them.
#pragma once

#include <kvdocmgr/oletypes.h>

#include <cstddef>
#include <new>
#include <string_view>
#include <utility>

namespace kvdm {

// Owns one BSTR. Null is the empty string; a text may hold U+0000.
class OwnedBstr
{
public:
    OwnedBstr() noexcept = default;
    // Allocates a copy of the text; throws std::bad_alloc.
    explicit OwnedBstr(std::u16string_view text)
    {
        if (text.size() <= mostUnits)
            string = SysAllocStringLen(reinterpret_cast<const OLECHAR*>(text.data()), static_cast<UINT>(text.size()));
        if (!string)
            throw std::bad_alloc();
    }
    OwnedBstr(OwnedBstr&& other) noexcept : string(std::exchange(other.string, nullptr)) {}
    OwnedBstr& operator=(OwnedBstr&& other) noexcept
    {
        std::swap(string, other.string);
        return *this;
    }
    ~OwnedBstr() { SysFreeString(string); }

    BSTR get() const noexcept { return string; }
    std::u16string_view view() const noexcept { return viewOf(string); }
    [[nodiscard]] BSTR detach() noexcept { return std::exchange(string, nullptr); }
    BSTR* put() noexcept
    {
        SysFreeString(std::exchange(string, nullptr));
        return &string;
    }

    static std::u16string_view viewOf(BSTR text) noexcept
    {
        return text ? std::u16string_view(reinterpret_cast<const char16_t*>(text), SysStringLen(text)) : std::u16string_view();
    }

private:
    static constexpr std::size_t mostUnits = 0x7FFFFFFF; // the length in bytes is kept in 32 bits

    BSTR string = nullptr;
};

// Owns one VARIANT, with arrays and interfaces inside it.
class OwnedVariant
{
public:
    OwnedVariant() noexcept { VariantInit(&value); }
    OwnedVariant(OwnedVariant&& other) noexcept
    {
        VariantInit(&value);
        std::swap(value, other.value);
    }
    OwnedVariant& operator=(OwnedVariant&& other) noexcept
    {
        std::swap(value, other.value);
        return *this;
    }
    ~OwnedVariant() { VariantClear(&value); }

    VARIANT& get() noexcept { return value; }
    const VARIANT& get() const noexcept { return value; }
    VARIANT* put() noexcept
    {
        VariantClear(&value);
        return &value;
    }
    [[nodiscard]] VARIANT detach() noexcept
    {
        VARIANT result = value;
        VariantInit(&value);
        return result;
    }

private:
    VARIANT value;
};

} // namespace kvdm
