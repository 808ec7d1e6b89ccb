#include "engines/treesitter/core/parse_meter.h"

#include <ctime>

namespace engines::treesitter {
namespace {

// ---- Calibration ----
//
// Of 12,042 real files none needs more than 25 steps per KiB, dense legitimate text 31 to 51;
// hostile text takes 2,500 and more.
constexpr std::uint64_t STEPS_FLOOR = 4096;
constexpr std::uint64_t STEPS_PER_KIB = 256;

// For operations that are slow themselves, such as a token that is read to the end of the file and
// given up, again and again. The slowest legitimate text takes 0.3 seconds per MiB.
constexpr double SECONDS_FLOOR = 4;
constexpr double SECONDS_PER_MIB = 4;

constexpr std::uint64_t OPERATIONS_PER_STEP = 100;

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
      _seconds(SECONDS_FLOOR + SECONDS_PER_MIB * static_cast<double>(size) / (1 << 20)),
      _start(Clock::now()),
      _thread_start(thread_seconds()) {}

void ParseMeter::step() {
  if (_steps_left-- == 0) throw GuardSpoke{Guard::operations};
  check_time();
}

// The thread's own time decides, so that a busy machine ends no parse; it costs a system call, so
// it is asked for only once that much time has passed at all.
void ParseMeter::check_time() const {
  _stop.check();
  if (std::chrono::duration<double>(Clock::now() - _start).count() < _seconds) return;
  if (thread_seconds() - _thread_start > _seconds) throw GuardSpoke{Guard::time};
}

// The step that found none left is counted on, past 0.
ParseReport::Spent<std::uint64_t> ParseMeter::operations() const {
  const std::uint64_t done = _steps_left > _steps ? _steps : _steps - _steps_left;
  return {done * OPERATIONS_PER_STEP, _steps * OPERATIONS_PER_STEP};
}

ParseReport::Spent<ParseReport::Duration> ParseMeter::time() const {
  return {in_nanoseconds(thread_seconds() - _thread_start), in_nanoseconds(_seconds)};
}

}  // namespace engines::treesitter
