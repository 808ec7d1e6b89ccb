// Terminals: their width, and the colours of standard output.
//
// Tested by tests/questions_test.py.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace tool {

bool is_terminal(int descriptor);

// In columns; 80 when the terminal does not tell.
std::size_t terminal_width(int descriptor);

enum class Colour : std::uint8_t { place, name, faint };

// What standard output is.
struct Terminal {
  std::size_t width = SIZE_MAX;  // in columns; without a limit when it is no terminal
  bool has_colours = false;

  // Has no colours when the environment's NO_COLOR is set and not empty, or TERM is "dumb".
  static Terminal of_output();

  // What switches a colour on and off; empty without colours.
  std::string_view begin(Colour colour) const;
  std::string_view end() const { return has_colours ? "\x1b[0m" : ""; }
};

}  // namespace tool
