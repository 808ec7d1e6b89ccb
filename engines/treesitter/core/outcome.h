// Makes an Outcome of an exception, and says how much memory an Outcome holds.
//
// Tested by tests/parse_item_test.cpp.
#pragma once

#include <exception>
#include <string>

#include "engines/treesitter/treesitter.h"

namespace engines::treesitter {

// The facts about a file that were found before its parse ended with an error.
struct KnownOfFile {
  std::string language;
  std::string content_hash;
};

// The outcome of a parse that threw `error`. If there is no memory for the error's text, it is left
// empty.
Raised raised_by(std::exception_ptr error, KnownOfFile&& known) noexcept;

// The memory that an outcome holds outside itself, in bytes.
std::size_t size_of(const Outcome& outcome);

}  // namespace engines::treesitter
