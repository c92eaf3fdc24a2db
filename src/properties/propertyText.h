// The text forms in which values of properties cross the boundary of the system.
#pragma once

#include <kvdocmgr/oletypes.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace kvdm {

class suOleProperty;

// Numbers by "%d" and "%f", "Yes" and "No", text in the code page, the date alone in the user's short form. "Indeterminate"
// for no property and for every other type; "Invalid DateTime" for a time that is no date of the automation calendar.
std::u16string ValueToText(const suOleProperty* property, unsigned codePage);

// The value that SetProperty takes, for types 3, 5, 11, 30 and 64. Empty when the text does not fit the type, which any
// text does for yes-no ("No" unless it is "yes"). Text is cut to 1023 bytes.
std::optional<std::string> TextToValue(std::u16string_view text, std::uint32_t type, unsigned codePage);

// Long date and time of the local zone, joined by a blank; empty for no time.
std::u16string dateAndTimeText(FILETIME time);

} // namespace kvdm
