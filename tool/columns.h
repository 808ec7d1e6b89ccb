// How many columns of a terminal a text takes: wide East Asian characters take two, combining and
// format characters none.
//
// Cost: linear in the text; a look into ICU's tables for each character outside ASCII.
//
// Tested by tests/questions_test.py.
#pragma once

#include <cstddef>
#include <string_view>

namespace tool {

// Of both functions `text` must be well-formed UTF-8 without control characters.
std::size_t columns(std::string_view text);

// As many whole characters from the beginning as fit into `count` columns.
std::string_view first_columns(std::string_view text, std::size_t count);

}  // namespace tool
