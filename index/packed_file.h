// A file's record in the form that the writer of the index needs. The parsing threads make it, so
// that the one writer has less to do.
//
// Cost: one hash for each name, and for each component of an FQN.
//
// Tested by tests/index_test.cpp.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "engines/treesitter/treesitter.h"

namespace repository {

struct PackedFile {
  static constexpr std::int64_t NO_SCOPE = -1;

  // A name or scope is given by its place in `names` or `scopes`. A parent stands before its
  // scopes.
  struct Scope {
    std::int64_t parent;  // NO_SCOPE at the top
    std::uint32_t name;
  };
  struct Symbol {
    std::uint32_t name;
    std::int64_t scope;
    bool scope_is_all;    // the FQN does not end with the name: it is the prefix and the scope
    std::uint8_t kind;    // of models::SymbolKind
    std::uint32_t first;  // line, 1-based
    std::uint32_t lines;  // from the first line to the last; 0 where they are one
    bool is_export;
    std::optional<std::string> signature;
    std::optional<std::string> doc;
  };
  struct Reference {
    std::uint32_t name;
    std::uint8_t kind;  // a place in REFERENCE_KINDS
    std::string lines;  // packed (varint.h)
  };

  std::vector<std::string> names;  // each once
  std::vector<Scope> scopes;
  std::vector<Symbol> symbols;
  std::vector<Reference> references;  // one for each name and kind

  std::size_t size() const;  // in bytes, roughly
};

// Moves symbols and references out of the result. Its errors stay; one is added, and nothing
// packed, when the file has more symbols than an index can number.
PackedFile pack(engines::treesitter::ParseResult& result);

}  // namespace repository
