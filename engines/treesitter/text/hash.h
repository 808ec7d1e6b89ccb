// The hashes of texts that come from a file.
//
// The standard library's is the same in every process, so that somebody can write a file whose
// names all fall into one bucket: its table would be searched through for each of them. A number
// drawn at the start of the process makes the buckets unforeseeable; no answer depends on it.
//
// Tested by tests/killers_test.cpp.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace engines::treesitter {

std::size_t hash_of(std::string_view text);

// The hash of a text that grows at its end, at the cost of what is appended: qualified names repeat
// their ancestors, which may be as long as the file. A polynomial of the bytes modulo 2^61 - 1, at
// a place that is drawn once.
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
