// The rows of an index as its questions need them: prepared statements, files by their id,
// qualified names put together again, the symbols around lines.
//
// Tested by tests/questions_test.py.
#pragma once

#include <SQLiteCpp/SQLiteCpp.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "index/answers.h"
#include "index/module_path.h"
#include "index/schema.h"

namespace repository {

inline constexpr std::int64_t file_of(std::int64_t symbol) { return symbol >> ORDINAL_BITS; }

class Reader {
 public:
  struct File {
    std::string path;
    std::string language;
    bool is_test;
  };
  struct Reference {
    std::int64_t file;
    std::string lines;  // packed
  };
  // A symbol and what ranks it.
  struct Ranked {
    std::int64_t id;
    std::uint8_t kind;
    bool is_export;
  };

  explicit Reader(SQLite::Database connection);

  SQLite::Database& connection() { return _connection; }

  std::optional<std::string> meta(const std::string& key);
  std::optional<std::int64_t> name_id(const std::string& text);
  std::string name_text(std::int64_t id);
  // Known until the question ends (forget()).
  const File& file(std::int64_t id);
  // Of its path, for comparing it with modules. Known as long.
  const Components& components(std::int64_t file);
  std::optional<std::int64_t> file_id(const std::string& path);
  void forget() {
    _files.clear();
    _components.clear();
    _scopes.clear();
  }

  // Gives symbols of that name, and of that kind, until `take` says no. Reads an index alone.
  void for_each_symbol(std::int64_t name, std::optional<std::uint8_t> kind,
                       const std::function<bool(const Ranked&)>& take);
  Ranked ranked(std::int64_t symbol);
  // What stands in front of the symbol's name in its FQN.
  std::string holder(std::int64_t symbol);
  std::vector<Ranked> symbols_named(std::int64_t name, std::int64_t file);
  Definition definition(std::int64_t symbol);
  // ".a.b" for b in a. Known until the question ends.
  const std::string& scope_text(std::int64_t scope);
  // Throws IndexError for what is no kind of a symbol.
  static std::uint8_t checked_kind(std::int64_t kind);
  std::vector<std::int64_t> symbols_of(std::int64_t file);

  // For each of the rising lines the innermost symbol around it. 0 for none. Linear in the file's
  // symbols and in the lines.
  std::vector<std::int64_t> around(std::int64_t file, const std::vector<std::uint64_t>& lines);

  void for_each_reference(std::int64_t name, std::size_t kind,
                          const std::function<bool(const Reference&)>& take);
  std::optional<std::string> lines_of(std::int64_t name, std::size_t kind, std::int64_t file);
  // name << KIND_BITS | kind, rising.
  std::vector<std::uint64_t> uses_of(std::int64_t file);

 private:
  SQLite::Database _connection;
  SQLite::Statement _meta;
  SQLite::Statement _name_id;
  SQLite::Statement _name_text;
  SQLite::Statement _file;
  SQLite::Statement _file_id;
  SQLite::Statement _symbols_named;
  SQLite::Statement _symbols_named_of_kind;
  SQLite::Statement _symbols_named_in;
  SQLite::Statement _ranked;
  SQLite::Statement _symbol_scope;
  SQLite::Statement _symbol;
  SQLite::Statement _symbols_of;
  SQLite::Statement _spans_of;
  SQLite::Statement _scope;
  SQLite::Statement _references;
  SQLite::Statement _lines;
  SQLite::Statement _uses;
  std::unordered_map<std::int64_t, File> _files;
  std::unordered_map<std::int64_t, Components> _components;
  std::unordered_map<std::int64_t, std::string> _scopes;
};

}  // namespace repository
