// SHA-256, by OpenSSL's libcrypto. No other file includes its headers.
//
// Tested by tests/engine_test.cpp.
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "engines/treesitter/cancellation/stop_check.h"

struct SHA256state_st;

namespace engines::treesitter {

// Makes one digest after the other, on one thread. It takes no lock, so it works in a forked child.
class Sha256 {
 public:
  Sha256();  // throws std::bad_alloc

  // The digest of these bytes, as 64 lower-case hexadecimal digits.
  std::string of(std::string_view bytes);
  // The same. Throws CancelledError.
  std::string of(std::string_view bytes, StopCheck& stop);

  // The same for bytes in pieces: start, update for each piece, finish.
  void start();
  void update(std::string_view bytes);
  std::string finish();

 private:
  struct Free {
    void operator()(SHA256state_st* state) const;
  };

  std::unique_ptr<SHA256state_st, Free> _state;
};

}  // namespace engines::treesitter
