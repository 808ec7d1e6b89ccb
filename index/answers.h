// The answers of an index: plain values, which own their texts.
//
// Tested by tests/questions_test.py.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "models/symbol.h"

namespace repository {

// The most useful rows come first.
template <typename Row>
struct Answer {
  std::vector<Row> rows;
  bool is_cut = false;  // a limit has left out rows, or may have
};

struct Definition {
  std::int64_t id;   // of the symbol, in this state of the index
  std::string path;  // from the root, any bytes
  std::string language;
  std::string_view kind;  // the text of a models::SymbolKind
  std::string name;
  std::string fqn;
  std::uint32_t first;  // lines, 1-based
  std::uint32_t last;
  bool is_export;
  bool is_test;  // the path is that of a test
  std::optional<std::string> signature;
  std::optional<std::string> doc;
  unsigned quality = 0;  // how well the name fits what was asked for; 0 is best
};

// All symbols of a file, in document order; without signatures, documentation and bodies.
struct FileSymbols {
  std::string path;  // from the root, any bytes
  std::string language;
  std::string prefix;  // with which each FQN begins
  std::vector<engines::models::Symbol> symbols;
};

// A definition that a use may mean, and the evidence for it: texts for people, such as "same
// folder".
struct Candidate {
  Definition definition;
  std::vector<std::string_view> evidence;
};

// What a name may mean in the file that uses it. Names are not resolved: of several candidates none
// is chosen.
struct Meanings {
  std::vector<Candidate> candidates;  // the first of those with the strongest evidence
  std::size_t count = 0;              // how many have this evidence, listed or not
  std::size_t definitions = 0;        // how many definitions of the name were compared
  bool is_partial = false;            // there are more definitions, which were not looked at
};

struct Use {
  std::string path;       // from the root, any bytes
  std::uint32_t line;     // 1-based
  std::string_view kind;  // "call", "import", "import_module" or "type"
  std::string name;
  bool is_test;
  std::optional<Definition> within;  // the innermost symbol around the line
  Meanings meanings;
};

enum class Pending : std::uint8_t { added, changed, removed, unreadable };

// A change that the next run would make.
struct PendingChange {
  Pending kind;
  std::string path;
  std::string error{};  // why it is unreadable
};

struct LanguageCount {
  std::string language;
  std::int64_t files;
  std::int64_t symbols;
};

struct Statistics {
  std::string root;                      // the folder that paths start from, absolute
  std::string database;                  // its file
  std::string made_by;                   // versions and rules (schema.h)
  bool is_complete;                      // the last run came to its end
  std::int64_t bytes;                    // of the database
  std::int64_t failed;                   // how many files have an error
  std::vector<LanguageCount> languages;  // in the order of their names
};

}  // namespace repository
