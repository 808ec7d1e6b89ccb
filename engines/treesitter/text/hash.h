// Hashes of texts that come from a file.
//
// The standard library's hash is the same in every process. An attacker could write a file whose
// names all have one hash, and every look-up would search through all of them. A random number that
// each process draws once makes the hashes unforeseeable. No result depends on it.
//
// Tested by tests/killers_test.cpp.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace engines::treesitter {

std::size_t hash_of(std::string_view text);

// The hash of a text that grows at its end. Appending costs only the appended bytes, which matters
// for qualified names: each repeats those of its ancestors, which may be as long as the file. The
// hash is a polynomial of the bytes modulo 2^61 - 1, evaluated at the random number.
class GrowingHash {
 public:
  GrowingHash();
  GrowingHash& append(std::string_view text);
  std::uint64_t value() const { return _value; }

 private:
  std::uint64_t _value = 0;
  std::uint64_t _base;
};

}  // namespace engines::treesitter
