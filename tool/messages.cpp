// See messages.h.
#include "tool/messages.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <string>

#include "engines/treesitter/core/text.h"
#include "tool/descriptors.h"
#include "tool/escape.h"

namespace tool {
namespace {

using std::chrono::steady_clock;

constexpr std::chrono::milliseconds FIRST_PROGRESS{1500};
constexpr std::chrono::milliseconds BETWEEN_PROGRESS{200};
constexpr std::string_view WIPE_LINE = "\r\x1b[K";

bool is_terminal(int descriptor) { return ::isatty(descriptor) != 0; }

// One write for the whole line, so that lines of several processes do not mix.
void write_error(std::string_view line) { (void)write_all(STDERR_FILENO, line); }

// In columns; a line that wrapped could not be wiped.
std::size_t terminal_width() {
  winsize size{};
  const bool is_known = ::ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0;
  return is_known ? size.ws_col : 80;
}

}  // namespace

void complain(std::string_view text) {
  write_error("treesitter-engine: " + std::string(text) + '\n');
}

Messages::Messages()
    : _shows_progress(is_terminal(STDERR_FILENO) && !is_terminal(STDOUT_FILENO)),
      _shows_reports(!is_terminal(STDERR_FILENO) || !is_terminal(STDOUT_FILENO)),
      _next(steady_clock::now() + FIRST_PROGRESS) {}

Messages::~Messages() { wipe(); }

void Messages::report(std::string_view path, std::string_view text) {
  if (!_shows_reports) return;
  wipe();
  complain(escaped(path) + ": " + escaped(text));
}

void Messages::show_progress(std::size_t count, std::string_view path) {
  if (!_shows_progress) return;
  const auto now = steady_clock::now();
  if (now < _next) return;
  _next = now + BETWEEN_PROGRESS;
  const std::string line = std::to_string(count) + " files, " + escaped(path);
  write_error(std::string(WIPE_LINE) +
              std::string(engines::treesitter::first(line, terminal_width() - 1)));
  _has_line = true;
}

void Messages::wipe() {
  if (_has_line) write_error(WIPE_LINE);
  _has_line = false;
}

}  // namespace tool
