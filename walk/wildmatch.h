// Whether a path matches a pattern of an ignore file, byte by byte.
//
// Cost: no more than the product of both lengths for a pattern without `**`, and for each component
// of the text once more with it. Of stars only the last one met is tried again, and of `**` too:
// whatever follows an earlier one has been matched where it leaves most to the rest. No memory.
//
// Tested by tests/walk_test.cpp, and by tests/ignore_parity_test.py against git itself.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace walk {

// What stands for more than itself, or makes what follows stand for itself.
inline constexpr std::string_view WILDCARDS = "*?[\\";

// `*`, `?` and sets match anything but "/"; `**` between slashes or an end matches any number of
// components, elsewhere it is a `*`. A set may hold ranges and classes such as [:alpha:], which
// know ASCII alone. A set without end, or a backslash at the end, makes a pattern match nothing.
//
// `folds_case`: the text is in lower case, ASCII that is; the pattern need not be. As in git,
// letters behind a backslash and single letters of a set do not fold then.
bool wildmatch(std::string_view pattern, std::string_view text, bool folds_case);

// ASCII letters in lower case, in place.
void fold_case(std::string& text, std::size_t begin, std::size_t end);

}  // namespace walk
