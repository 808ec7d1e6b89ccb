// The tables of an index, and who made it.
//
//   meta       `made_by`: schema, rules, the digest of the build: an index by others is
//              made anew. `root`: the folder, absolute. `complete`: 1 when the last run came to its
//              end. Rows of file_rules.h, where they are not as by default.
//   file       one row for each file that the walk shows. `path`: from the root, any bytes.
//              `language`: none for a binary file, which is left out. `hash`: SHA-256, none where
//              no bytes were read or where they have to be read again. `size`, `mtime`, `ctime` (in
//              ns), `inode`: as they were before the file was read; `mtime` is -1 when they prove
//              nothing, since the file may have been written since within the same tick. `symbols`:
//              how many it has.
//   file_use   which references a file has: name << 2 | kind of each row of `reference`, rising, as
//              varints of the differences. So they are found without an index by file.
//   error      what is wrong with a file.
//   name       each name once, of symbols, scopes and references; gone with its last use. The
//              second index is for names in any case, and for their beginnings.
//   scope      what stands between the file's prefix and a symbol's own name in its FQN, as a tree
//              of components. So a name that encloses others is stored once, however deep they lie,
//              and `name` holds no dotted texts.
//   symbol     `id`: file << 24 | number in the file, in document order. `scope`: 0 for none;
//              negative where the FQN does not end with the name: -scope is then all of the FQN
//              behind the prefix. `lines`: the last line is first + lines. The index by name holds
//              what ranks the symbols of a name that thousands have, and tells one kind of them.
//   reference  `lines`: rising, as varints of the differences.
//   name_trigram, name_words, symbol_words
//              for searching: parts of names; words of names such as parseHTTPHeader_2; words of
//              signatures and documentation.
//
// Kinds are numbers: of a symbol that of models::SymbolKind, of a reference its place in
// REFERENCE_KINDS. The FQN of a symbol: TreeSitterEngine::fqn_prefix of the file's path, then
// each component and the name behind a full stop.
//
// Tested by tests/index_test.cpp and tests/index_command_test.py.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>

#include "engines/treesitter/treesitter.h"

namespace repository {

inline constexpr std::int32_t SCHEMA_VERSION = 3;

// By which a file is known as an index of ours ("TSix").
inline constexpr std::uint32_t APPLICATION_ID = 0x54536978;

inline constexpr unsigned ORDINAL_BITS = 24;  // of a symbol's id

inline constexpr std::array<std::string_view, 4> REFERENCE_KINDS = {"call", "import",
                                                                    "import_module", "type"};

inline constexpr unsigned KIND_BITS = 2;  // of a row of file_use

// What makes an empty database an index.
extern const char* const SCHEMA;

// What tells whose index it is: schema, rules, and the digest of all else that decides about
// records.
std::string maker(engines::treesitter::Rules rules);

// What that begins with for every index that has these tables.
std::string maker_of_schema();

}  // namespace repository
