// How a host ends a parse early. A part of treesitter.h, which includes it.
//
// Tested by tests/parse_item_test.cpp.
#pragma once

#include <functional>
#include <stdexcept>
#include <stop_token>

namespace engines::treesitter {

// A cancelled call ends within 50 ms, whether it reads, hashes, parses or walks. There are two
// exceptions. A call that holds hundreds of megabytes gives them back to the system, which takes up
// to 0.1 ms for each. And the library does not check while it makes or frees the node of everything
// that is open at the end of a text, which takes up to 20 ms for each MiB of unclosed brackets.
struct Cancellation {
  // Any thread may request the stop.
  std::stop_token stop = {};
  // Called about every 20 ms on the thread that parses; true ends the parse. For hosts that have to
  // check for signals. It must not throw. It may call another engine, but not the same one.
  std::function<bool()> poll = {};
};

// Thrown by a cancelled call.
class CancelledError : public std::runtime_error {
 public:
  CancelledError() : std::runtime_error("cancelled") {}
};

}  // namespace engines::treesitter
