// See messages.h.
#include "tool/messages.h"

#include <sys/uio.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <string>

#include "tool/columns.h"
#include "tool/descriptors.h"
#include "tool/escape.h"
#include "tool/interrupts.h"
#include "tool/terminal.h"

namespace tool {
namespace {

using std::chrono::steady_clock;

// Short runs show no line of progress, which would only flicker.
constexpr std::chrono::milliseconds FIRST_PROGRESS{150};
constexpr std::chrono::milliseconds BETWEEN_PROGRESS{200};
constexpr const char* WIPE_LINE = "\r\x1b[K";

void write_error(std::string_view line) { (void)write_all(STDERR_FILENO, line); }

iovec piece(std::string_view text) { return {const_cast<char*>(text.data()), text.size()}; }

double seconds_since(steady_clock::time_point start) {
  return std::chrono::duration<double>(steady_clock::now() - start).count();
}

std::string in_seconds(double seconds) {
  std::array<char, 32> text{};
  std::snprintf(text.data(), text.size(), "%.1f s", seconds);
  return text.data();
}

std::string files(std::size_t count) {
  return std::to_string(count) + (count == 1 ? " file" : " files");
}

// ", 3 skipped (2 hidden, 1 linked)"; empty when nothing was skipped.
std::string skipped(const Counts& counts, const walk::LeftOut& left_out) {
  std::size_t total = 0;
  std::string reasons;
  const auto add = [&](std::size_t count, const char* reason) {
    if (count == 0) return;
    total += count;
    reasons += (reasons.empty() ? "" : ", ") + std::to_string(count) + reason;
  };
  add(left_out.hidden, " hidden");
  add(left_out.links, " linked");
  add(left_out.unknown + counts.unknown, " of unknown language");
  add(left_out.other_type, " of another type");
  add(left_out.excluded, " excluded");
  add(left_out.ignored, " ignored");
  add(counts.binary, " binary");
  return total == 0 ? "" : ", " + std::to_string(total) + " skipped (" + reasons + ")";
}

}  // namespace

void complain(std::string_view text) {
  // One write for the whole line, so that lines of several processes do not mix.
  const std::array parts = {piece("treesitter-engine: "), piece(text), piece("\n")};
  (void)!::writev(STDERR_FILENO, parts.data(), static_cast<int>(parts.size()));
}

Messages::Messages(bool is_verbose, Records records)
    : _shows_progress(is_terminal(STDERR_FILENO) &&
                      (records == Records::none || !is_terminal(STDOUT_FILENO))),
      _shows_reports(records == Records::none || !is_terminal(STDERR_FILENO) ||
                     !is_terminal(STDOUT_FILENO)),
      _shows_summary(is_verbose || is_terminal(STDERR_FILENO)),
      _start(steady_clock::now()),
      _next(_start + FIRST_PROGRESS) {}

Messages::~Messages() { wipe(); }

void Messages::report(std::string_view path, std::string_view text) {
  if (!_shows_reports) return;
  wipe();
  complain(escaped(path) + ": " + escaped(text));
}

void Messages::note(std::string_view text) {
  wipe();
  complain(escaped(text));
}

void Messages::tell(std::string_view text) {
  if (_shows_summary) note(text);
}

void Messages::show_progress(const Counts& counts, std::optional<std::size_t> total,
                             const std::optional<UnderWay>& longest) {
  if (!_shows_progress) return;
  const auto now = steady_clock::now();
  if (now < _next) return;
  _next = now + BETWEEN_PROGRESS;
  std::string line = std::to_string(counts.files + counts.unknown + counts.binary);
  line += total ? " of " + files(*total) : std::string(line == "1" ? " file" : " files");
  if (longest) {
    const double seconds = seconds_since(longest->since);
    line += ", " + (seconds < 1 ? "" : in_seconds(seconds) + " on ") + escaped(longest->path);
  }
  set_last_words(WIPE_LINE);
  // A line that wraps could not be wiped.
  const std::size_t width = terminal_width(STDERR_FILENO) - 1;
  write_error(WIPE_LINE + std::string(first_columns(line, width)));
  _has_line = true;
}

void Messages::summarise(const Counts& counts, const walk::LeftOut& left_out,
                         std::string_view rest) {
  if (!_shows_summary) return;
  wipe();
  std::string line = files(counts.files);
  if (counts.failed > 0) line += ", " + std::to_string(counts.failed) + " failed";
  if (counts.large > 0) line += " (" + std::to_string(counts.large) + " too large)";
  if (!rest.empty()) line.append(", ").append(rest);
  complain(line + skipped(counts, left_out) + ", " + in_seconds(seconds_since(_start)));
}

void Messages::wipe() {
  if (_has_line) write_error(WIPE_LINE);
  _has_line = false;
  set_last_words(nullptr);
}

}  // namespace tool
