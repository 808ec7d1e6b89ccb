// ParseMeter: what one parse may take of the processor, in the library's steps and in time.
//
// Tested by tests/guards_test.cpp.
#pragma once

#include <chrono>
#include <cstdint>

#include "engines/treesitter/cancellation/stop_check.h"
#include "engines/treesitter/report.h"

namespace engines::treesitter {

// Thrown out of the library by a guard that ends the parse. Its C frames hold nothing that needs
// unwinding; core and grammars are compiled with -fexceptions.
enum class Guard : std::uint8_t { operations, time, scanner_state, assertion };
struct GuardSpoke {
  Guard guard;
};

class ParseMeter {
 public:
  // Starts now, for a file of `size` bytes, on the calling thread.
  ParseMeter(std::uint64_t size, StopCheck& stop);

  // To be called once per step, which is 100 operations of the library. Throws GuardSpoke, and
  // CancelledError when somebody has cancelled the parse.
  void step();
  // To be called from within operations that may take long. Throws the same.
  void check_time() const;

  // So far, for a parse that is to be explained.
  ParseReport::Spent<std::uint64_t> operations() const;
  ParseReport::Spent<ParseReport::Duration> time() const;

 private:
  using Clock = std::chrono::steady_clock;

  StopCheck& _stop;
  const std::uint64_t _steps;
  std::uint64_t _steps_left;
  const double _seconds;
  const Clock::time_point _start;
  const double _thread_start;
};

}  // namespace engines::treesitter
