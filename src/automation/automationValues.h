// Values on their way to a client: newly allocated, owned by the caller.
#pragma once

#include <kvdocmgr/owned.h>

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace kvdm {

constexpr VARIANT_BOOL toVariantBool(bool value) noexcept
{
    return value ? VARIANT_TRUE : VARIANT_FALSE;
}

inline void giveText(std::u16string_view text, BSTR* out)
{
    *out = OwnedBstr(text).detach();
}

// One-dimensional safe arrays from index 0, in a variant. All throw std::bad_alloc and then own nothing.
OwnedVariant arrayOfTexts(std::span<const std::u16string> texts);
OwnedVariant arrayOfLongs(std::span<const LONG> numbers);
OwnedVariant arrayOfDoubles(std::span<const double> numbers);
OwnedVariant arrayOfBytes(std::span<const std::uint8_t> bytes);
OwnedVariant emptyArray(VARTYPE type);

// The texts of a variant that holds an array of strings; anything else counts as none.
std::vector<std::u16string> textsOf(const VARIANT& variant);

} // namespace kvdm
