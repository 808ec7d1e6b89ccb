// See terminal.h.
#include "tool/terminal.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <cstdlib>

namespace tool {
namespace {

constexpr std::size_t USUAL_WIDTH = 80;

std::string_view variable(const char* name) {
  const char* const value = std::getenv(name);
  return value == nullptr ? std::string_view() : value;
}

}  // namespace

bool is_terminal(int descriptor) { return ::isatty(descriptor) != 0; }

std::size_t terminal_width(int descriptor) {
  winsize size{};
  const bool is_known = ::ioctl(descriptor, TIOCGWINSZ, &size) == 0 && size.ws_col > 0;
  return is_known ? size.ws_col : USUAL_WIDTH;
}

Terminal Terminal::of_output() {
  if (!is_terminal(STDOUT_FILENO)) return {};
  return {.width = terminal_width(STDOUT_FILENO),
          .has_colours = variable("NO_COLOR").empty() && variable("TERM") != "dumb"};
}

std::string_view Terminal::begin(Colour colour) const {
  if (!has_colours) return "";
  switch (colour) {
    case Colour::place:
      return "\x1b[35m";
    case Colour::name:
      return "\x1b[1m";
    case Colour::faint:
      break;
  }
  return "\x1b[2m";
}

}  // namespace tool
