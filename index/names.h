// Writes the names and scopes of an index: each text once, each place in the tree of scopes once,
// and the rows by which parts and words of names are found.
//
// Cost: one hash for a cached name or scope, a look-up in the database for others. The caches are
// bounded.
//
// Tested by tests/index_command_test.py.
#pragma once

#include <SQLiteCpp/SQLiteCpp.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>

#include "engines/treesitter/text/hash.h"

namespace repository {

// For the connection that writes the index; every call within one of its transactions.
class Names {
 public:
  explicit Names(SQLite::Database& database);

  // The id of this name, or of this place in the tree of scopes; adds what is not there yet.
  std::int64_t name(const std::string& text);
  std::int64_t scope(std::int64_t parent, std::int64_t name);

  // To be called when a row that used the name or scope is removed. A symbol's scope may be 0 or
  // negative (schema.h).
  void release_name(std::int64_t id) { _released_names.insert(id); }
  void release_scope(std::int64_t id);
  // Removes what was released and has no use left.
  void remove_unused();

 private:
  struct Hash {
    using is_transparent = void;
    std::size_t operator()(std::string_view text) const {
      return engines::treesitter::hash_of(text);
    }
    std::size_t operator()(std::pair<std::int64_t, std::int64_t> pair) const {
      return static_cast<std::size_t>(pair.first) * 0x9E3779B97F4A7C15U +
             static_cast<std::size_t>(pair.second);
    }
  };

  std::int64_t add_name(const std::string& text);
  std::optional<std::int64_t> added_by(SQLite::Statement& statement);
  void remove_unused_scopes();
  void remove_name(std::int64_t id);
  void bound_cache();

  SQLite::Database& _database;
  SQLite::Statement _insert_name;
  SQLite::Statement _find_name;
  SQLite::Statement _name_text;
  SQLite::Statement _is_name_used;
  SQLite::Statement _delete_name;
  SQLite::Statement _insert_trigram;
  SQLite::Statement _delete_trigram;
  SQLite::Statement _insert_words;
  SQLite::Statement _delete_words;
  SQLite::Statement _insert_scope;
  SQLite::Statement _find_scope;
  SQLite::Statement _scope_parts;
  SQLite::Statement _is_scope_used;
  SQLite::Statement _delete_scope;

  std::unordered_map<std::string, std::int64_t, Hash, std::equal_to<>> _names;
  std::size_t _name_bytes = 0;
  std::unordered_map<std::pair<std::int64_t, std::int64_t>, std::int64_t, Hash> _scopes;
  std::unordered_set<std::int64_t> _released_names;
  std::unordered_set<std::int64_t> _released_scopes;
};

}  // namespace repository
