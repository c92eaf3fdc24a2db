// Conversions between the two forms of Unicode text that the system meets: UTF-16 inside, UTF-8 at the edges.
#pragma once

#include <string>
#include <string_view>

namespace kvdm {

// Lone surrogates and ill-formed bytes become U+FFFD.
std::string toUtf8(std::u16string_view text);
std::u16string fromUtf8(std::string_view text);

} // namespace kvdm
