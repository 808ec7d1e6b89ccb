// How many columns of a terminal a text takes: characters of East Asian writing take two, those
// that are put onto the one before none.
//
// Cost: linear in the text; one look at ICU's tables for each character outside ASCII.
//
// Tested by tests/questions_test.py.
#pragma once

#include <cstddef>
#include <string_view>

namespace tool {

// `text`: well-formed UTF-8 without controls.
std::size_t columns(std::string_view text);

// As much of its beginning as fits.
std::string_view first_columns(std::string_view text, std::size_t count);

}  // namespace tool
