// See hash.h.
#include "engines/treesitter/text/hash.h"

#include <sys/random.h>

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>

namespace engines::treesitter {
namespace {

// In a training for a profile (cmake/Pgo.cmake) no bytes are drawn, so that the same work always
// gives the same counts, and these the same program.
#ifdef TREESITTER_ENGINE_TRAINING
constexpr std::size_t DRAWN_BYTES = 0;
#else
constexpr std::size_t DRAWN_BYTES = sizeof(std::uint64_t);
#endif

std::uint64_t drawn() {
  std::uint64_t number = 0;
  // Right after the start of the system there may be no random numbers yet. The number is 1 then:
  // the hash is still good, but foreseeable.
  [[maybe_unused]] const auto count = ::getrandom(&number, DRAWN_BYTES, GRND_NONBLOCK);
  return number | 1;
}

// Drawn by the first threads that ask; one of them stores its number. No static with an
// initialiser, which other threads wait for: a child forked during the initialisation would wait
// for ever.
std::uint64_t seed() {
  static constinit std::atomic<std::uint64_t> shared = 0;  // 0 until it is drawn
  std::uint64_t known = shared.load(std::memory_order_relaxed);
  if (known != 0) return known;
  const std::uint64_t mine = drawn();
  return shared.compare_exchange_strong(known, mine) ? mine : known;
}

constexpr std::uint64_t MODULUS = (std::uint64_t{1} << 61) - 1;

// The product modulo MODULUS of two numbers below it.
std::uint64_t product(std::uint64_t left, std::uint64_t right) {
  __extension__ using Wide = unsigned __int128;
  const Wide wide = static_cast<Wide>(left) * right;
  const std::uint64_t sum =
      (static_cast<std::uint64_t>(wide) & MODULUS) + static_cast<std::uint64_t>(wide >> 61);
  return sum >= MODULUS ? sum - MODULUS : sum;
}

}  // namespace

// Texts with the same standard hash have the same hash here. An attacker who wants many of these
// needs texts of hundreds of bytes, and a file so large that they do no harm.
std::size_t hash_of(std::string_view text) {
  std::uint64_t hash = std::hash<std::string_view>()(text) ^ seed();
  hash = (hash ^ hash >> 30) * 0xBF58476D1CE4E5B9;  // the last steps of SplitMix64
  hash = (hash ^ hash >> 27) * 0x94D049BB133111EB;
  return hash ^ hash >> 31;
}

GrowingHash::GrowingHash() : _base(seed() % MODULUS | 1) {}

GrowingHash& GrowingHash::append(std::string_view text) {
  for (const char byte : text) {
    // One is added to each byte, or texts that differ in leading NULs would have one hash.
    const std::uint64_t sum = product(_value, _base) + static_cast<unsigned char>(byte) + 1;
    _value = sum >= MODULUS ? sum - MODULUS : sum;
  }
  return *this;
}

}  // namespace engines::treesitter
