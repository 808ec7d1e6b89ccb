// ParseMeter: limits the processor time of one parse, by counting the library's steps and by the
// clock.
//
// Tested by tests/guards_test.cpp.
#pragma once

#include <chrono>
#include <cstdint>

#include "engines/treesitter/cancellation/stop_check.h"
#include "engines/treesitter/report.h"

namespace engines::treesitter {

// The guards that end a parse, and what they throw. The exception passes through C frames of the
// library, which is possible since they need no clean-up and are compiled with -fexceptions.
enum class Guard : std::uint8_t { operations, time, scanner_state, assertion };
struct GuardSpoke {
  Guard guard;
};

class ParseMeter {
 public:
  // Starts now, for a file of `size` bytes, on the calling thread.
  ParseMeter(std::uint64_t size, StopCheck& stop);

  // To be called once per step, which is 100 operations of the library. Throws GuardSpoke, and
  // CancelledError when the call was cancelled.
  void step();
  // To be called within long operations. Throws the same.
  void check_time() const;

  // The figures so far, for a report.
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
