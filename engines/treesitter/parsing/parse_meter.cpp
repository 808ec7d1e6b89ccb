// See parse_meter.h.
#include "engines/treesitter/parsing/parse_meter.h"

#include <ctime>

#include "engines/treesitter/guard_limits.h"

namespace engines::treesitter {
namespace {

ParseReport::Duration in_nanoseconds(double seconds) {
  return std::chrono::duration_cast<ParseReport::Duration>(std::chrono::duration<double>(seconds));
}

double thread_seconds() {
  timespec time{};
  ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

}  // namespace

ParseMeter::ParseMeter(std::uint64_t size, StopCheck& stop)
    : _stop(stop),
      _steps(STEPS_FLOOR + STEPS_PER_KIB * size / 1024),
      _steps_left(_steps),
      _seconds(double{SECONDS_FLOOR} +
               double{SECONDS_PER_MIB} * static_cast<double>(size) / (1 << 20)),
      _start(Clock::now()),
      _thread_start(thread_seconds()) {}

void ParseMeter::step() {
  if (_steps_left-- == 0) throw GuardSpoke{Guard::operations};
  check_time();
}

// The thread's processor time decides, so that a busy machine ends no parse. Reading it costs a
// system call, so it is read only after that much wall-clock time has passed.
void ParseMeter::check_time() const {
  _stop.check();
  if (std::chrono::duration<double>(Clock::now() - _start).count() < _seconds) return;
  if (thread_seconds() - _thread_start > _seconds) throw GuardSpoke{Guard::time};
}

// The step that exceeds the budget makes `_steps_left` wrap around to a number above `_steps`.
ParseReport::Spent<std::uint64_t> ParseMeter::operations() const {
  const std::uint64_t done = _steps_left > _steps ? _steps : _steps - _steps_left;
  return {done * OPERATIONS_PER_STEP, _steps * OPERATIONS_PER_STEP};
}

ParseReport::Spent<ParseReport::Duration> ParseMeter::time() const {
  return {in_nanoseconds(thread_seconds() - _thread_start), in_nanoseconds(_seconds)};
}

}  // namespace engines::treesitter
