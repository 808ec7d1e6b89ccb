// Whether a path matches a pattern of an ignore file, byte by byte.
//
// Cost: at most the product of both lengths for a pattern without `**`; with it, that for each
// component of the text. No memory. Only the last star met is tried again, and the last `**`: what
// stands between an earlier one and it has been matched as early as possible, so that no other way
// leaves more of the text to the rest.
//
// Tested by tests/walk_test.cpp, and by tests/ignore_parity_test.py against git itself.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace walk {

// The bytes that do not stand for themselves in a pattern.
inline constexpr std::string_view WILDCARDS = "*?[\\";

// `*`, `?` and sets match anything but "/". `**` between slashes, or between a slash and an end,
// matches any number of components; elsewhere it is a `*`. A set may have ranges and classes such
// as
// [:alpha:], of ASCII characters only. A pattern with an open set or a backslash at its end matches
// nothing.
//
// `folds_case`: the caller gives the text with ASCII letters in lower case; the pattern may be in
// any. As in git, letters behind a backslash and single letters of a set do not fold.
bool wildmatch(std::string_view pattern, std::string_view text, bool folds_case);

// Turns ASCII letters into lower case, in place.
void fold_case(std::string& text, std::size_t begin, std::size_t end);

}  // namespace walk
