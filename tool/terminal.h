// What standard output is: a terminal of so many columns, or none; and its colours.
//
// Tested by tests/questions_test.py.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace tool {

enum class Colour : std::uint8_t { place, name, faint };

struct Terminal {
  std::size_t width = SIZE_MAX;  // in columns; where there is no terminal lines have any length
  bool has_colours = false;

  // No colours where the environment has a NO_COLOR that is not empty, or a dumb terminal.
  static Terminal of_output();

  std::string_view begin(Colour colour) const;
  std::string_view end() const { return has_colours ? "\x1b[0m" : ""; }
};

}  // namespace tool
