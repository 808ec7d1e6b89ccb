// Errors as values.
//
// Tested by tests/parse_item_test.cpp.
#pragma once

#include <exception>
#include <string>

#include "engines/treesitter/treesitter.h"

namespace engines::treesitter {

// What is known of a file when its parse ends with an error.
struct KnownOfFile {
  std::string language;
  std::string content_hash;
};

// Without memory even for the error's text, the text stays empty.
Raised raised_by(std::exception_ptr error, KnownOfFile&& known) noexcept;

// The memory that an outcome holds, in bytes.
std::size_t size_of(const Outcome& outcome);

}  // namespace engines::treesitter
