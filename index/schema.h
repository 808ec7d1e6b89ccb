// The tables of an index.
//
//   meta       `made_by`: the version of the schema, the rules, the engine's version and the digest
//              of the build; an index with another text is made anew. `root`: the folder, absolute.
//              `complete`: 1 when the last run came to its end. The rules of file_rules.h that are
//              not the default ones.
//   file       one row for each file that the walk shows. `path`: from the root, any bytes.
//              `language`: NULL for a binary file, which has neither symbols nor references.
//              `hash`: SHA-256; NULL where no bytes were read, or where they have to be read again.
//              `size`, `mtime` and `ctime` (in ns) and `inode`: as they were before the file was
//              read. `mtime` is -1 when they prove nothing: the file may have been written again
//              within the same tick of the clock. `symbols`: how many it has.
//   file_use   `uses`: name << 2 | kind of each row that the file has in `reference`, rising and
//              packed (varint.h). So `reference` needs no index by file.
//   error      the error texts of a file.
//   name       the names of symbols, scopes and references, each once, and only while it is used.
//              name_folded finds them in any case, and by their beginnings.
//   scope      a tree of what stands between the file's prefix and a symbol's own name in its FQN,
//              one component in each row. So a name that encloses others is stored once, however
//              deep they lie, and `name` holds no dotted texts.
//   symbol     `id`: file << 24 | number in the file, in document order. `scope`: 0 for none;
//              negative where the FQN does not end with the name: -scope is then the whole FQN
//              behind the prefix. `first`: line, 1-based; the last line is first + lines.
//              symbol_name also holds `kind` and `export`, so that the symbols of a name are
//              filtered and ranked without their rows.
//   reference  `lines`: 1-based, rising, packed (varint.h).
//   name_trigram, name_words, symbol_words
//              for searching: parts of names; words of names such as parseHTTPHeader_2; words of
//              signatures and documentation.
//
// Kinds are numbers: a symbol's that of models::SymbolKind, a reference's its place in
// REFERENCE_KINDS. A symbol's FQN is TreeSitterEngine::fqn_prefix of the file's path, then each
// component and the name, each behind a full stop.
//
// Tested by tests/index_test.cpp and tests/index_command_test.py.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "engines/treesitter/treesitter.h"

namespace repository {

inline constexpr std::int32_t SCHEMA_VERSION = 3;

// "TSix" in the header of the database: the file is an index.
inline constexpr std::uint32_t APPLICATION_ID = 0x54536978;

// ---- Symbols ----

inline constexpr unsigned ORDINAL_BITS = 24;  // of a symbol's id: its number in the file

inline constexpr std::int64_t file_of(std::int64_t symbol) { return symbol >> ORDINAL_BITS; }

// The condition of a statement on `symbol` whose first parameter is a file.
inline constexpr const char* IN_FILE = "id >= ?1 << 24 AND id < (?1 + 1) << 24";
static_assert(ORDINAL_BITS == 24);

// ---- References ----

inline constexpr std::array<std::string_view, 4> REFERENCE_KINDS = {"call", "import",
                                                                    "import_module", "type"};
inline constexpr std::size_t CALL = 0;
inline constexpr std::size_t IMPORT = 1;
inline constexpr std::size_t IMPORT_MODULE = 2;
static_assert(REFERENCE_KINDS[CALL] == "call" && REFERENCE_KINDS[IMPORT] == "import" &&
              REFERENCE_KINDS[IMPORT_MODULE] == "import_module");

// A number of file_use.
inline constexpr unsigned KIND_BITS = 2;
inline constexpr std::uint64_t use_of(std::int64_t name, std::size_t kind) {
  return static_cast<std::uint64_t>(name) << KIND_BITS | kind;
}
inline constexpr std::int64_t name_of(std::uint64_t use) {
  return static_cast<std::int64_t>(use >> KIND_BITS);
}
inline constexpr std::size_t kind_of(std::uint64_t use) { return use & ((1U << KIND_BITS) - 1); }

// ---- The tables ----

// The statements that make the tables in an empty database.
extern const char* const SCHEMA;

// The text of `made_by` in an index that this build makes by these rules.
std::string maker(engines::treesitter::Rules rules);

// The beginning of that text in every index that has the tables of this version.
std::string maker_of_schema();

}  // namespace repository
