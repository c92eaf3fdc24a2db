// Bytes of a code page to UTF-16 and back, with the results that Windows gives.
#pragma once

#include <span>
#include <string>
#include <string_view>

namespace kvdm {

constexpr unsigned codePageSystem = 0; // the ANSI code page of the user's language
constexpr unsigned codePageUtf8 = 65001;

// The ANSI code page that belongs to the user's language (1252 for the West, 1251, 932, 936, 949, 950 ...);
// the environment variable KESTROVANE_ANSI_CODE_PAGE overrides it. Read once.
unsigned systemCodePage();

// False for a number for which no converter is to be had; 0 is known.
bool isKnownCodePage(unsigned codePage);

// Unmapped and ill-formed bytes come out as Windows has them. An unknown code page gives the empty text, as the platform's
// conversion fails there. Embedded NULs are kept.
std::u16string decodeText(unsigned codePage, std::string_view bytes);

// Units that the code page does not have come out as its default character ("?"); best-fit as Windows does it.
std::string encodeText(unsigned codePage, std::u16string_view text);

} // namespace kvdm
