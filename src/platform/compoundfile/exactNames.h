// Names as the directory holds them. The public interfaces end a name at U+0000, but files exist whose names go on behind it;
// those who look at every node of a file ask for these interfaces beside the public ones.
#pragma once

#include "common/automationObject.h"

#include <string>
#include <string_view>

namespace kvdm {

inline constexpr IID exactListingId{0x6E1B0A53, 0x3C27, 0x4B8E, {0x9D, 0x14, 0x72, 0x0F, 0xA6, 0x5B, 0xC8, 0x31}};
inline constexpr IID exactStorageId{0x91D2F7C4, 0x08AE, 0x4F60, {0xB3, 0x5A, 0xE4, 0x19, 0x6D, 0x82, 0x07, 0xFB}};

// Of an enumerator.
struct IExactListing : IUnknown
{
    // The whole name of the element that stands so many places before the next one; null outside the list.
    virtual const std::u16string* nameBefore(std::size_t places) const noexcept = 0;
};

// Of a storage. Modes and statuses are those of OpenStream and OpenStorage.
struct IExactStorage : IUnknown
{
    virtual HRESULT openStreamExactly(std::u16string_view name, DWORD mode, IStream** out) noexcept = 0;
    virtual HRESULT openStorageExactly(std::u16string_view name, DWORD mode, IStorage** out) noexcept = 0;
};

template <> struct InterfaceTraits<IExactListing> : InterfaceTraitsOf<IUnknown, exactListingId>
{
};
template <> struct InterfaceTraits<IExactStorage> : InterfaceTraitsOf<IUnknown, exactStorageId>
{
};

} // namespace kvdm
