// Colour and width on a terminal; plain text elsewhere.
#pragma once

#include <string>
#include <string_view>

namespace kvdm::tool {

// True when standard output is a terminal that takes colour (NO_COLOR and TERM=dumb say no).
bool outputIsColoured();

// True when standard error is a terminal.
bool errorIsTerminal();

std::string bold(std::string_view text);
std::string faint(std::string_view text);
std::string coloured(std::string_view text, int colour); // 1 red, 2 green, 3 yellow, 4 blue, 6 cyan

// Columns that the text takes on a terminal, and the text filled up with blanks to that many.
std::size_t columnsOf(std::string_view utf8);
std::string padded(std::string_view utf8, std::size_t columns);

// Control characters made visible ("\x05"), so that a file cannot steer the terminal.
std::string printable(std::u16string_view text);

// The beginning of a text that has more letters than that, with "..." behind it.
std::string shortened(const std::string& utf8, std::size_t letters);

// A text of a file in a message: printable, not too long, in quotes.
std::string inQuotes(std::u16string_view text);
std::string inQuotes(const std::string& utf8);

// "1.4 MiB"
std::string sizeText(unsigned long long bytes);

} // namespace kvdm::tool
