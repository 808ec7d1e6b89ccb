#include "engines/treesitter/core/hash.h"

#include <sys/random.h>

#include <atomic>
#include <cstdint>
#include <functional>

namespace engines::treesitter {
namespace {

std::uint64_t drawn() {
  std::uint64_t number = 0;
  // Where there is no randomness yet, right after the system's start, 0 will do: it is a hash
  // still.
  [[maybe_unused]] const auto count = ::getrandom(&number, sizeof number, GRND_NONBLOCK);
  return number | 1;
}

// Of the threads that come first, one sets it. No static with a guard: a child that is forked while
// another thread is behind the guard would wait at it for ever.
std::uint64_t seed() {
  static constinit std::atomic<std::uint64_t> shared = 0;  // until it is drawn
  std::uint64_t known = shared.load(std::memory_order_relaxed);
  if (known != 0) return known;
  const std::uint64_t mine = drawn();
  return shared.compare_exchange_strong(known, mine) ? mine : known;
}

}  // namespace

// Texts of one standard hash keep one hash. To find many of those, each must be hundreds of bytes
// long, and the file so large that they do no harm.
std::size_t hash_of(std::string_view text) {
  std::uint64_t hash = std::hash<std::string_view>()(text) ^ seed();
  hash = (hash ^ hash >> 30) * 0xBF58476D1CE4E5B9;  // the finish of SplitMix64
  hash = (hash ^ hash >> 27) * 0x94D049BB133111EB;
  return hash ^ hash >> 31;
}

}  // namespace engines::treesitter
