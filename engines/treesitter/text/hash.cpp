#include "engines/treesitter/text/hash.h"

#include <sys/random.h>

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>

namespace engines::treesitter {
namespace {

// A training for a profile (cmake/Pgo.cmake) draws nothing: the same work gives the same counts
// then, and those the same program.
#ifdef TREESITTER_ENGINE_TRAINING
constexpr std::size_t DRAWN_BYTES = 0;
#else
constexpr std::size_t DRAWN_BYTES = sizeof(std::uint64_t);
#endif

std::uint64_t drawn() {
  std::uint64_t number = 0;
  // Right after the system's start there may be no random numbers yet. The number is then 1: texts
  // are still spread, but somebody who knows that could choose texts that are not.
  [[maybe_unused]] const auto count = ::getrandom(&number, DRAWN_BYTES, GRND_NONBLOCK);
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

constexpr std::uint64_t MODULUS = (std::uint64_t{1} << 61) - 1;

// Both factors and the product are less than the modulus.
std::uint64_t product(std::uint64_t left, std::uint64_t right) {
  __extension__ using Wide = unsigned __int128;
  const Wide wide = static_cast<Wide>(left) * right;
  const std::uint64_t sum =
      (static_cast<std::uint64_t>(wide) & MODULUS) + static_cast<std::uint64_t>(wide >> 61);
  return sum >= MODULUS ? sum - MODULUS : sum;
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

GrowingHash::GrowingHash() : _base(seed() % MODULUS | 1) {}

GrowingHash& GrowingHash::append(std::string_view text) {
  for (const char byte : text) {
    // No byte counts as 0, or texts that begin with NULs would be alike.
    const std::uint64_t sum = product(_value, _base) + static_cast<unsigned char>(byte) + 1;
    _value = sum >= MODULUS ? sum - MODULUS : sum;
  }
  return *this;
}

}  // namespace engines::treesitter
