// StopCheck: whether the call under way has been cancelled.
//
// Whatever runs long asks it at least every few milliseconds. A question costs two loads where
// nobody polls.
//
// One StopCheck serves one call on one thread.
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
  constexpr StopCheck() = default;  // of a call that nobody can cancel
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

// Calls `work` with the bytes in pieces of at most a MiB, and asks between them.
template <typename Work>
void in_pieces(std::string_view bytes, StopCheck& stop, Work work) {
  constexpr std::size_t PIECE = 1 << 20;
  for (; bytes.size() > PIECE; bytes.remove_prefix(PIECE)) {
    work(bytes.substr(0, PIECE));
    stop.check();
  }
  work(bytes);
}

}  // namespace engines::treesitter
