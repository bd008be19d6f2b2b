// Texts from elsewhere on a terminal: names, identifiers and messages may hold anything.
#pragma once

#include <cstddef>
#include <exception>
#include <string>
#include <string_view>

namespace zelk::host {

// The text without what steers a terminal or turns its writing around: control characters, also
// those beyond ASCII, and marks of direction become "\x1b" or "\u202e"; so do bytes that are no
// UTF-8.
std::string Printable(std::string_view text);

// The columns that a printable text takes on a terminal.
std::size_t DisplayWidth(std::string_view text);

// A printable text cut to so many columns; "..." stands for the rest.
std::string Shortened(const std::string& text, std::size_t width);

// What went wrong, in the words of this program or the system's, not those of a library.
std::string Reason(const std::exception& error);

}  // namespace zelk::host
