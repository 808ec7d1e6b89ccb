// See stop_check.h.
#include "engines/treesitter/cancellation/stop_check.h"

namespace engines::treesitter {
namespace {

constexpr std::chrono::milliseconds BETWEEN_POLLS(20);

}  // namespace

void StopCheck::poll() {
  const bool is_first = _next_poll == Clock::time_point{};
  // The first poll comes after 20 ms, when most parses are over.
  if (!is_first && _cancellation->poll()) throw CancelledError();
  _next_poll = Clock::now() + BETWEEN_POLLS;
}

}  // namespace engines::treesitter
