// StopCheck: whether the current call of the engine has been cancelled.
//
// Every long loop checks it at least every few milliseconds. A check costs two loads, and a look at
// the clock where the host polls. One StopCheck serves one call on one thread.
//
// Tested by tests/parse_item_test.cpp.
#pragma once

#include <chrono>
#include <cstddef>
#include <string_view>

#include "engines/treesitter/cancellation/cancellation.h"

namespace engines::treesitter {

class StopCheck {
 public:
  constexpr StopCheck() = default;  // for a call that cannot be cancelled
  // The cancellation must outlive this.
  explicit StopCheck(const Cancellation& cancellation) : _cancellation(&cancellation) {}

  // Throws CancelledError once the call is cancelled.
  void check() {
    if (_cancellation != nullptr) check_now();
  }

 private:
  using Clock = std::chrono::steady_clock;

  void check_now() {
    if (_cancellation->stop.stop_requested()) throw CancelledError();
    if (_cancellation->poll && Clock::now() >= _next_poll) poll();
  }
  void poll();

  const Cancellation* _cancellation = nullptr;
  Clock::time_point _next_poll{};
};

inline constinit StopCheck never_cancelled;

// How many bytes are read or hashed between two checks.
inline constexpr std::size_t BYTES_PER_CHECK = 1 << 20;

// Calls `work` with the bytes in pieces of at most BYTES_PER_CHECK, and checks between them.
template <typename Work>
void in_pieces(std::string_view bytes, StopCheck& stop, Work work) {
  for (; bytes.size() > BYTES_PER_CHECK; bytes.remove_prefix(BYTES_PER_CHECK)) {
    work(bytes.substr(0, BYTES_PER_CHECK));
    stop.check();
  }
  work(bytes);
}

}  // namespace engines::treesitter
