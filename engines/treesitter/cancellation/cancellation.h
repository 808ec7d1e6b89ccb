// What may end a parse before its end, from outside.
#pragma once

#include <functional>
#include <stdexcept>
#include <stop_token>

namespace engines::treesitter {

// A call that was cancelled gives up within 50 ms, while it reads, hashes, parses or walks. When it
// holds hundreds of megabytes, giving them back to the system comes on top: up to 0.1 ms for each.
// And the library asks nobody while it makes or takes down the one node of all that is open at the
// end of a text, which takes up to 20 ms for each MiB of brackets that nobody closes.
struct Cancellation {
  // May be stopped by any thread.
  std::stop_token stop = {};
  // Asked every 20 ms or so by the thread that parses; true ends the parse. For hosts that have to
  // look for signals themselves. It must not throw, and not call the same engine; another one it
  // may.
  std::function<bool()> poll = {};
};

// What a cancelled call throws.
class CancelledError : public std::runtime_error {
 public:
  CancelledError() : std::runtime_error("cancelled") {}
};

}  // namespace engines::treesitter
