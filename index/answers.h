// What an index answers with: values, which tell what is known and how.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "models/symbol.h"

namespace repository {

// Rows in the order in which they are of use. What a limit has left out is said.
template <typename Row>
struct Answer {
  std::vector<Row> rows;
  bool is_cut = false;  // there are more, or may be
};

struct Definition {
  std::int64_t id;   // of the symbol, in this state of the index
  std::string path;  // from the root, any bytes
  std::string language;
  std::string_view kind;
  std::string name;
  std::string fqn;
  std::uint32_t first;  // lines
  std::uint32_t last;
  bool is_export;
  bool is_test;  // its path says so
  std::optional<std::string> signature;
  std::optional<std::string> doc;
  unsigned quality = 0;  // how well the name fits what was asked for; 0 is best
};

// All symbols of a file, in document order; without signatures, documentation and bodies.
struct FileSymbols {
  std::string path;  // from the root, any bytes
  std::string language;
  std::string prefix;  // of each FQN
  std::vector<engines::models::Symbol> symbols;
};

// A definition that a use may mean, and what speaks for it.
struct Candidate {
  Definition definition;
  std::vector<std::string_view> evidence;
};

// What a name may mean in the file that uses it. Names are not resolved: several candidates are
// several, and none is chosen.
struct Meanings {
  std::vector<Candidate> candidates;  // the first of those for which most speaks
  std::size_t count = 0;              // of those, also beyond the ones that are listed
  std::size_t definitions = 0;        // of that name, whatever speaks for them
  bool is_partial = false;            // there are more definitions, which were not looked at
};

struct Use {
  std::string path;
  std::uint32_t line;
  std::string_view kind;  // of the reference
  std::string name;
  bool is_test;
  std::optional<Definition> within;  // the innermost symbol around the line
  Meanings meanings;
};

enum class Pending : std::uint8_t { added, changed, removed, unreadable };

struct PendingChange {
  Pending kind;
  std::string path;
  std::string error{};  // of what is unreadable
};

struct LanguageCount {
  std::string language;
  std::int64_t files;
  std::int64_t symbols;
};

struct Statistics {
  std::string root;
  std::string database;
  std::string made_by;
  bool is_complete;     // the last run came to its end
  std::int64_t bytes;   // of the database
  std::int64_t failed;  // files with an error
  std::vector<LanguageCount> languages;
};

}  // namespace repository
