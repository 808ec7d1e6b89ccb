// What somebody may have meant who mistyped a word.
//
// Tested by tests/tool_test.py.
#pragma once

#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace tool {

// The first of the words that are nearest to this one: a third of its letters at most may be
// wrong, missing, too many or swapped with their neighbours, or it may be cut short. None when
// no word is that near. Upper and lower case of ASCII letters are alike.
std::optional<std::string> nearest(std::string_view word, std::span<const std::string> words);

// "; did you mean 'WORD'?", or nothing.
std::string suggestion(std::string_view word, std::span<const std::string> words);

// ASCII letters in lower case.
std::string lower_case(std::string_view text);

}  // namespace tool
