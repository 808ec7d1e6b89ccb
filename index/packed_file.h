// A file's record as the writer of the index needs it, made on the threads that parse.
//
// Cost: one hash for each name, and for each component of an FQN.
//
// Tested by tests/index_test.cpp.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "engines/treesitter/treesitter.h"

namespace repository {

struct PackedFile {
  static constexpr std::int64_t NO_SCOPE = -1;

  // Numbers of names and scopes are places in the lists here; a scope's parent stands before it.
  struct Scope {
    std::int64_t parent;
    std::uint32_t name;
  };
  struct Symbol {
    std::uint32_t name;
    std::int64_t scope;
    bool scope_is_all;  // the scope holds all of the FQN behind the file's prefix
    std::uint8_t kind;
    std::uint32_t first;
    std::uint32_t lines;
    bool is_export;
    std::optional<std::string> signature;
    std::optional<std::string> doc;
  };
  struct Reference {
    std::uint32_t name;
    std::uint8_t kind;
    std::string lines;
  };

  std::vector<std::string> names;  // each once
  std::vector<Scope> scopes;
  std::vector<Symbol> symbols;
  std::vector<Reference> references;  // one for each name and kind

  std::size_t size() const;  // in bytes, roughly
};

// Takes symbols and references out of the result; its errors stay, to which one is added when the
// record has no room in an index.
PackedFile pack(engines::treesitter::ParseResult& result);

// SHA-256 as its 32 bytes, from hexadecimal digits; empty when there are none.
std::string digest_bytes(std::string_view digits);

}  // namespace repository
