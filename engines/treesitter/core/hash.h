// The hash of texts that come from a file.
//
// The standard library's is the same in every process, so that somebody can write a file whose
// names all fall into one bucket: its table would be searched through for each of them. A number
// drawn at the start of the process makes the buckets unforeseeable; no answer depends on it.
//
// Tested by tests/killers_test.cpp.
#pragma once

#include <cstddef>
#include <string_view>

namespace engines::treesitter {

std::size_t hash_of(std::string_view text);

}  // namespace engines::treesitter
