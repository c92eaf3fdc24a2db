// Names of elements: which are allowed and how they are ordered.
#pragma once

#include "platform/compoundfile/format.h"

#include <string_view>

namespace kvdm {

// The order of the directory: the shorter name first, names of one length by their upper-cased units. Names that differ in
// case alone are equal. Negative, 0 or positive.
int compareNames(std::u16string_view left, std::u16string_view right) noexcept;
int compareNames(std::u16string_view left, const EntryView& right) noexcept;

struct NameBefore
{
    bool operator()(std::u16string_view left, std::u16string_view right) const noexcept { return compareNames(left, right) < 0; }
};

// The text behind a name argument; at most one unit more than a name may have is looked at. Throws STG_E_INVALIDNAME for no
// name and for one of more than 31 units. An empty name passes: files with such elements exist.
std::u16string_view nameArgument(LPCOLESTR name);
// The same for an element that is to come into being: the empty name and the separators "/", "\", ":" and "!" are refused.
std::u16string_view newNameArgument(LPCOLESTR name);

} // namespace kvdm
