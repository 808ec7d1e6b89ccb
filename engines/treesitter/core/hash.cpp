#include "engines/treesitter/core/hash.h"

#include <sys/random.h>

#include <cstdint>
#include <functional>

namespace engines::treesitter {
namespace {

std::uint64_t drawn() {
  std::uint64_t number = 0;
  // Where there is no randomness yet, right after the system's start, 0 will do: it is a hash
  // still.
  [[maybe_unused]] const auto count = ::getrandom(&number, sizeof number, GRND_NONBLOCK);
  return number;
}

}  // namespace

// Texts of one standard hash keep one hash. To find many of those, each must be hundreds of bytes
// long, and the file so large that they do no harm.
std::size_t hash_of(std::string_view text) {
  static const std::uint64_t SEED = drawn();
  std::uint64_t hash = std::hash<std::string_view>()(text) ^ SEED;
  hash = (hash ^ hash >> 30) * 0xBF58476D1CE4E5B9;  // the finish of SplitMix64
  hash = (hash ^ hash >> 27) * 0x94D049BB133111EB;
  return hash ^ hash >> 31;
}

}  // namespace engines::treesitter
