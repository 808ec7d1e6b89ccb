// What the tool says on standard error: messages, and on a terminal how far a long run has come.
//
// Tested by tests/tool_test.py.
#pragma once

#include <chrono>
#include <cstddef>
#include <string_view>

namespace tool {

// Exit statuses.
inline constexpr int EXIT_ALL_PARSED = 0;   // every file gave a result without error texts
inline constexpr int EXIT_SOME_FAILED = 1;  // finished; some record tells an error
inline constexpr int EXIT_NOT_RUN = 2;

// Prints "treesitter-engine: TEXT". The text must be fit for a terminal (escape.h). A message that
// cannot be written is lost.
void complain(std::string_view text);

// Messages about files, and the line of progress that they must not collide with. Shows progress
// only when standard error is a terminal and standard output is none, since records would run over
// it, and only once a run has lasted a while. For one thread at a time.
class Messages {
 public:
  Messages();
  Messages(const Messages&) = delete;
  Messages& operator=(const Messages&) = delete;
  ~Messages();

  // Prints "treesitter-engine: PATH: TEXT", both escaped. Nothing when both outputs are terminals:
  // the record has just told it there.
  void report(std::string_view path, std::string_view text);

  // `count` records are written, the last one that of `path`.
  void show_progress(std::size_t count, std::string_view path);

 private:
  void wipe();

  const bool _shows_progress;
  const bool _shows_reports;
  bool _has_line = false;  // the cursor stands behind a line of progress
  std::chrono::steady_clock::time_point _next;
};

}  // namespace tool
