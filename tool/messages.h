// What the tool says on standard error: messages, on a terminal how far a long run has come, and
// what it came to.
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

// Exit statuses.
inline constexpr int EXIT_ALL_PARSED = 0;   // every file gave a result without error texts
inline constexpr int EXIT_SOME_FAILED = 1;  // finished; some record tells an error
inline constexpr int EXIT_NOT_RUN = 2;

// Prints "treesitter-engine: TEXT". The text must be fit for a terminal (escape.h). A message that
// cannot be written is lost. Takes no memory, since want of it may be the message.
void complain(std::string_view text);

// What became of the items of a run so far.
struct Counts {
  std::size_t files = 0;    // that were to be parsed
  std::size_t failed = 0;   // of these
  std::size_t large = 0;    // of the failed: larger than --max-filesize
  std::size_t unknown = 0;  // named, but of unknown language
  std::size_t binary = 0;   // left out in folders
  int status() const { return failed > 0 ? EXIT_SOME_FAILED : EXIT_ALL_PARSED; }
};

// Messages about files, and the line of progress that they must not collide with. Shows progress
// only when standard error is a terminal and standard output is none, since records would run over
// it, and only once a run has lasted long enough to be seen. For one thread at a time.
class Messages {
 public:
  using UnderWay = engines::treesitter::ParseMany::UnderWay;

  // Where records go to standard output, which collide with progress on a terminal and tell errors
  // themselves.
  enum class Records : bool { none, written };

  Messages(bool is_verbose, Records records);
  Messages(const Messages&) = delete;
  Messages& operator=(const Messages&) = delete;
  ~Messages();

  // Prints "treesitter-engine: PATH: TEXT", both escaped. Nothing when both outputs are terminals
  // and the record has just told it there.
  void report(std::string_view path, std::string_view text);

  // Prints "treesitter-engine: TEXT", escaped.
  void note(std::string_view text);

  // The same, when the user asked for it or watches.
  void tell(std::string_view text);

  bool shows_progress() const { return _shows_progress; }

  // `total`: of items, once it is known. `longest`: the file that keeps the run waiting, if any.
  // Does nothing when it was called just before.
  void show_progress(const Counts& counts, std::optional<std::size_t> total,
                     const std::optional<UnderWay>& longest);

  // Prints what the run came to, when the user asked for it or watches. `left_out`: in folders.
  // `rest`: what is to be said besides of the files.
  void summarise(const Counts& counts, const walk::LeftOut& left_out, std::string_view rest = {});

 private:
  void wipe();

  const bool _shows_progress;
  const bool _shows_reports;
  const bool _shows_summary;
  const std::chrono::steady_clock::time_point _start;
  bool _has_line = false;  // the cursor stands behind a line of progress
  std::chrono::steady_clock::time_point _next;
};

}  // namespace tool
