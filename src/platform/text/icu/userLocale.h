// The user's locale as the environment names it.
#pragma once

#include <string>

namespace kvdm {

// The name in the form of the locale library ("de_DE", "sr_Latn_RS"): LC_ALL, else the variable of the category, else LANG.
// The unnamed locales ("C", "POSIX", nothing at all) are "en_US".
std::string userLocaleName(const char* categoryVariable);

// The ANSI code page of Windows for a locale: 1252 for the West and for languages that have none.
unsigned ansiCodePageOf(const std::string& localeName);
unsigned oemCodePageOf(const std::string& localeName);

} // namespace kvdm
