// What the tool prints on standard error: messages, the progress of a long run on a terminal, and a
// summary at the end. And the exit statuses.
//
// Tested by tests/tool_runs_test.py.
#pragma once

#include <chrono>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "engines/treesitter/treesitter.h"
#include "walk/folder_walk.h"

namespace tool {

inline constexpr int EXIT_ALL_PARSED = 0;     // every file gave a result without error texts
inline constexpr int EXIT_SOME_FAILED = 1;    // the run is complete, and some record has an error
inline constexpr int EXIT_NOTHING_FOUND = 1;  // of questions: the answer has no rows
inline constexpr int EXIT_NOT_RUN = 2;        // the run could not be done, or not to its end

// Prints "treesitter-engine: TEXT". The caller escapes the text (escape.h). A message that cannot
// be written is lost. Allocates nothing, so that it can report that memory is out.
void complain(std::string_view text);

// The items of a run so far.
struct Counts {
  std::size_t files = 0;    // were parsed or failed
  std::size_t failed = 0;   // of `files`: have error texts
  std::size_t large = 0;    // of `failed`: are larger than --max-filesize
  std::size_t unknown = 0;  // were named, but have no language
  std::size_t binary = 0;   // were left out as binary
  int status() const { return failed > 0 ? EXIT_SOME_FAILED : EXIT_ALL_PARSED; }
};

// Messages about files, and the line of progress, which each message wipes first. Shows progress
// only when standard error is a terminal and records go elsewhere, since both would mix there, and
// not at the beginning of a run. For one thread at a time.
class Messages {
 public:
  using UnderWay = engines::treesitter::ParseMany::UnderWay;

  // Whether the command writes records to standard output while it runs. They have their files'
  // errors, which are then not repeated on the same terminal.
  enum class Records : bool { none, written };

  Messages(bool is_verbose, Records records);
  Messages(const Messages&) = delete;
  Messages& operator=(const Messages&) = delete;
  ~Messages();

  // Prints "treesitter-engine: PATH: TEXT", both escaped. Prints nothing when both outputs are
  // terminals and the record shows the error.
  void report(std::string_view path, std::string_view text);

  // Prints "treesitter-engine: TEXT", escaped.
  void note(std::string_view text);

  // The same, but only with --verbose or when standard error is a terminal.
  void tell(std::string_view text);

  bool shows_progress() const { return _shows_progress; }

  // Prints the line of progress anew, a few times a second however often it is called. `total`: how
  // many items there are, once that is known. `longest`: the parse that has been running longest.
  void show_progress(const Counts& counts, std::optional<std::size_t> total,
                     const std::optional<UnderWay>& longest);

  // Prints the summary, but only as tell() does. `left_out`: by walks. `rest`: more about the
  // files, which follows their number.
  void summarise(const Counts& counts, const walk::LeftOut& left_out, std::string_view rest = {});

 private:
  void wipe();

  const bool _shows_progress;
  const bool _shows_reports;
  const bool _shows_summary;
  const std::chrono::steady_clock::time_point _start;
  bool _has_line = false;                       // a line of progress is on the terminal
  std::chrono::steady_clock::time_point _next;  // the earliest time of the next one
};

}  // namespace tool
