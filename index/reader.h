// Reads the rows that questions to an index need: files, names, scopes, symbols and references.
//
// Cost: a prepared statement for each row or list. Files and scopes are remembered until forget(),
// so that memory grows with those that a question meets.
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
#include "index/paths.h"
#include "index/schema.h"

namespace repository {

class Reader {
 public:
  struct File {
    std::string path;
    std::string language;
    bool is_test;
  };
  // The uses of a name as one kind in a file.
  struct Reference {
    std::int64_t file;
    std::string lines;  // packed (varint.h)
  };
  // What ranks a symbol among others of its name.
  struct Ranked {
    std::int64_t id;
    std::uint8_t kind;
    bool is_export;
  };

  explicit Reader(SQLite::Database connection);

  SQLite::Database& connection() { return _connection; }

  // Ids come from the index. When the row of one is missing, the index is damaged, and whoever
  // reads that row gets an IndexError.

  std::optional<std::string> meta(const std::string& key);
  std::optional<std::int64_t> name_id(const std::string& text);
  std::string name_text(std::int64_t id);
  // References last until forget(), here and below.
  const File& file(std::int64_t id);
  // The file's path, to be compared with modules.
  const Components& components(std::int64_t file);
  std::optional<std::int64_t> file_id(const std::string& path);
  void forget() {
    _files.clear();
    _components.clear();
    _scopes.clear();
  }

  // Gives the symbols of that name, and of that kind if there is one, until `take` gives false.
  // Reads the index symbol_name alone.
  void for_each_symbol(std::int64_t name, std::optional<std::uint8_t> kind,
                       const std::function<bool(const Ranked&)>& take);
  Ranked ranked(std::int64_t symbol);
  // The symbol's FQN without its name at the end.
  std::string holder(std::int64_t symbol);
  std::vector<Ranked> symbols_named(std::int64_t name, std::int64_t file);
  Definition definition(std::int64_t symbol);
  // ".a.b" for b in a.
  const std::string& scope_text(std::int64_t scope);
  // The FQN of a symbol with that scope and name, in a file whose FQNs begin with the prefix.
  std::string fqn(std::string prefix, std::int64_t scope, std::string_view name);
  // The number of a symbol's kind. Throws IndexError when there is no such kind.
  static std::uint8_t checked_kind(std::int64_t kind);
  std::vector<std::int64_t> symbols_of(std::int64_t file);

  // For each line the innermost symbol around it, 0 for none. `lines` must rise. Linear in the
  // lines and, but for sorting them, in the file's symbols.
  std::vector<std::int64_t> around(std::int64_t file, const std::vector<std::uint64_t>& lines);

  // Gives the uses of a name as that kind, file by file, until `take` gives false.
  void for_each_reference(std::int64_t name, std::size_t kind,
                          const std::function<bool(const Reference&)>& take);
  // The lines of one of them, packed.
  std::optional<std::string> lines_of(std::int64_t name, std::size_t kind, std::int64_t file);
  // The rows of file_use, rising (schema.h).
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
