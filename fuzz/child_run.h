// One parse in a process of its own, with what it took: the only way to measure a parse that may
// end its process, and to see every case from the same clean start.
#pragma once

#include <sys/types.h>

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "engines/treesitter/treesitter.h"

namespace engines::treesitter::fuzz {

// What became of one parse.
struct Outcome {
  std::string text;       // "parsed: 3 symbols, 4 references", the error text, or what was thrown
  int signal = 0;         // that ended the process; SIGXCPU for one that ran for MAX_SECONDS
  double seconds = 0;     // of processor time, the start of the process included
  std::size_t bytes = 0;  // of memory at the peak, the whole process
};

inline constexpr unsigned MAX_SECONDS = 60;

// What every parse has to keep, for any bytes in any language.
constexpr double allowed_seconds(std::size_t size) {
  return 5 + 5 * static_cast<double>(size) / (1 << 20);
}
constexpr std::size_t allowed_bytes(std::size_t size) { return (64 << 20) + 1024 * size; }

// A parse that has been started. The process should have one thread when it starts others.
class ChildRun {
 public:
  // Parses `content` on a thread with a stack of `stack_bytes`, or of the usual size for 0.
  ChildRun(std::string_view content, std::string_view language, std::size_t stack_bytes,
           Rules rules = Rules::standard);

  pid_t process() const { return _process; }
  // To be called once. Waits for the end.
  Outcome finish();

 private:
  pid_t _process;
  int _pipe;
};

}  // namespace engines::treesitter::fuzz
