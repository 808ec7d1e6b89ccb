// The word that a user may have meant who mistyped it.
//
// Tested by tests/tool_test.py and tests/tool_runs_test.py.
#pragma once

#include <span>
#include <string>
#include <string_view>

namespace tool {

// "; did you mean 'NAME'?" with the nearest of `words`, the first of several, or nothing when none
// is near. Near means that at most a third of the letters of `word` (one in short words) are wrong,
// missing, too many or swapped with a neighbour, or that `word` begins the other one. The case of
// ASCII letters does not count.
std::string suggestion(std::string_view word, std::span<const std::string> words);

// The text with ASCII letters in lower case.
std::string lower_case(std::string_view text);

}  // namespace tool
