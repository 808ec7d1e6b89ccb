// Runs one parse in a child process and measures it. Only so can a parse be measured that may end
// its process, and each case starts from the same clean state.
//
// Used by tests/killers_test.cpp and fuzz/sweep.cpp.
#pragma once

#include <sys/types.h>

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "engines/treesitter/treesitter.h"

namespace engines::treesitter::fuzz {

// The result of one parse.
struct Outcome {
  std::string text;    // "parsed: 3 symbols, 4 references", an error text, or "thrown: " and a text
  int signal = 0;      // the signal that ended the process; SIGXCPU after MAX_SECONDS
  double seconds = 0;  // processor time of the whole process
  std::size_t bytes = 0;  // most memory of the whole process
};

inline constexpr unsigned MAX_SECONDS = 60;

// The bounds of each parse, for any bytes in any language.
constexpr double allowed_seconds(std::size_t size) {
  return 5 + 5 * static_cast<double>(size) / (1 << 20);
}
constexpr std::size_t allowed_bytes(std::size_t size) { return (64 << 20) + 1024 * size; }

// A parse that has been started. The calling process must have only one thread, since this forks.
class ChildRun {
 public:
  // Parses `content` on a thread with a stack of `stack_bytes`, or of the usual size for 0.
  ChildRun(std::string_view content, std::string_view language, std::size_t stack_bytes,
           Rules rules = Rules::standard);

  pid_t process() const { return _process; }
  // Waits for the end. Call it once.
  Outcome finish();

 private:
  pid_t _process;
  int _pipe;
};

}  // namespace engines::treesitter::fuzz
