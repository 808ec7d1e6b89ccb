// See store.h.
#include "index/store.h"

#include <algorithm>
#include <utility>

#include "index/schema.h"
#include "index/statements.h"
#include "index/varint.h"

namespace repository {
namespace {

constexpr std::size_t MOST_FILES_IN_BATCH = 1000;
constexpr std::chrono::seconds LONGEST_BATCH{1};

}  // namespace

Store::Store(SQLite::Database& database)
    : _database(database),
      _names(database),
      _insert_file(database,
                   "INSERT INTO file(path, size, mtime, ctime, inode, language, hash, symbols) "
                   "VALUES(?1, ?2, ?3, ?4, ?5, ?6, ?7, 0)"),
      _update_file(database,
                   "UPDATE file SET size = ?2, mtime = ?3, ctime = ?4, inode = ?5, language = ?6, "
                   "hash = ?7 WHERE id = ?1"),
      _touch_file(database,
                  "UPDATE file SET size = ?2, mtime = ?3, ctime = ?4, inode = ?5 WHERE id = ?1"),
      _count_symbols(database, "UPDATE file SET symbols = ?2 WHERE id = ?1"),
      _delete_file(database, "DELETE FROM file WHERE id = ?"),
      _find_file(database, std::string("SELECT ") + FILE_COLUMNS + " FROM file WHERE path = ?"),
      _insert_error(database, "INSERT INTO error VALUES(?, ?, ?)"),
      _delete_errors(database, "DELETE FROM error WHERE file = ?"),
      _insert_symbol(database, "INSERT INTO symbol VALUES(?, ?, ?, ?, ?, ?, ?, ?, ?)"),
      _symbols_of(
          database,
          std::string("SELECT id, name, scope, signature, doc FROM symbol WHERE ") + IN_FILE),
      _delete_symbols(database, std::string("DELETE FROM symbol WHERE ") + IN_FILE),
      _insert_symbol_words(database,
                           "INSERT INTO symbol_words(rowid, signature, doc) VALUES(?, ?, ?)"),
      _delete_symbol_words(database,
                           "INSERT INTO symbol_words(symbol_words, rowid, signature, doc) "
                           "VALUES('delete', ?, ?, ?)"),
      _insert_reference(database, "INSERT INTO reference VALUES(?, ?, ?, ?)"),
      _delete_reference(database, "DELETE FROM reference WHERE name = ? AND kind = ? AND file = ?"),
      _insert_uses(database, "INSERT INTO file_use VALUES(?, ?)"),
      _uses_of(database, "SELECT uses FROM file_use WHERE file = ?"),
      _delete_uses(database, "DELETE FROM file_use WHERE file = ?") {}

// ---- Batches ----

void Store::begin() {
  ++_files_in_batch;
  if (std::exchange(_is_in_batch, true)) return;
  _batch_start = std::chrono::steady_clock::now();
  _database.exec("BEGIN IMMEDIATE");
  if (!std::exchange(_has_written, true)) {
    _database.exec("UPDATE meta SET value = 0 WHERE key = 'complete' AND value <> 0");
  }
}

void Store::commit() {
  if (!std::exchange(_is_in_batch, false)) return;
  _names.remove_unused();
  _database.exec("COMMIT");
  _files_in_batch = 0;
}

void Store::commit_if_due() {
  if (!_is_in_batch) return;
  if (_files_in_batch >= MOST_FILES_IN_BATCH ||
      std::chrono::steady_clock::now() - _batch_start >= LONGEST_BATCH) {
    commit();
  }
}

// The mark is part of the last batch, so that nobody sees the index of a one-batch run as
// incomplete.
void Store::finish() {
  if (!is_complete()) _database.exec("UPDATE meta SET value = 1 WHERE key = 'complete'");
  commit();
}

bool Store::is_complete() {
  return _database.execAndGet("SELECT value FROM meta WHERE key = 'complete'").getInt() == 1;
}

// ---- Files ----

void Store::put(std::int64_t id, const StoredFile& file, const PackedFile& packed) {
  begin();
  const bool is_known = id != 0;
  if (is_known) clear(id);
  id = write_row(id, file);
  std::vector<std::int64_t> names;
  names.reserve(packed.names.size());
  for (const std::string& name : packed.names) names.push_back(_names.name(name));
  std::vector<std::int64_t> scopes;
  scopes.reserve(packed.scopes.size());
  for (const PackedFile::Scope& scope : packed.scopes) {
    const std::int64_t parent =
        scope.parent == PackedFile::NO_SCOPE ? 0 : scopes[static_cast<std::size_t>(scope.parent)];
    scopes.push_back(_names.scope(parent, names[scope.name]));
  }
  if (is_known || !packed.symbols.empty()) run(_count_symbols, id, packed.symbols.size());
  std::int64_t symbol_id = id << ORDINAL_BITS;
  for (const PackedFile::Symbol& symbol : packed.symbols) {
    add_symbol(symbol_id++, symbol, names, scopes);
  }
  add_references(id, packed, names);
}

void Store::put_head(std::int64_t id, const StoredFile& file) {
  begin();
  run(_delete_errors, id);
  write_row(id, file);
}

std::int64_t Store::write_row(std::int64_t id, const StoredFile& file) {
  SQLite::Statement& statement = id == 0 ? _insert_file : _update_file;
  if (id == 0) {
    bind_bytes(statement, 1, file.path);
  } else {
    statement.bind(1, id);
  }
  statement.bind(2, file.state.size);
  statement.bind(3, file.state.mtime);
  statement.bind(4, file.state.ctime);
  statement.bind(5, file.state.inode);
  bind_text(statement, 6, file.language);
  if (file.hash.empty()) {
    statement.bind(7);
  } else {
    bind_bytes(statement, 7, file.hash);
  }
  statement.exec();
  statement.reset();
  if (id == 0) id = _database.getLastInsertRowid();
  for (std::size_t number = 0; number < file.errors.size(); ++number) {
    _insert_error.bindNoCopy(3, file.errors[number]);
    run(_insert_error, id, number);
  }
  return id;
}

void Store::touch(std::int64_t id, const FileState& state) {
  begin();
  run(_touch_file, id, state.size, state.mtime, state.ctime, state.inode);
}

void Store::remove(std::int64_t id) {
  begin();
  clear(id);
  run(_delete_file, id);
}

std::optional<FileRow> Store::find(const std::string& path) {
  bind_bytes(_find_file, 1, path);
  std::optional<FileRow> row;
  if (_find_file.executeStep()) row = file_row(_find_file);
  _find_file.reset();
  return row;
}

void Store::clear(std::int64_t id) {
  clear_symbols(id);
  clear_references(id);
  run(_delete_errors, id);
}

// ---- Symbols ----

void Store::add_symbol(std::int64_t id, const PackedFile::Symbol& symbol,
                       const std::vector<std::int64_t>& names,
                       const std::vector<std::int64_t>& scopes) {
  const std::int64_t scope =
      symbol.scope == PackedFile::NO_SCOPE ? 0 : scopes[static_cast<std::size_t>(symbol.scope)];
  bind_text(_insert_symbol, 8, symbol.signature);
  bind_text(_insert_symbol, 9, symbol.doc);
  run(_insert_symbol, id, names[symbol.name], symbol.scope_is_all ? -scope : scope, symbol.kind,
      symbol.first, symbol.lines, symbol.is_export ? 1 : 0);
  if (!symbol.signature && !symbol.doc) return;
  bind_text(_insert_symbol_words, 2, symbol.signature);
  bind_text(_insert_symbol_words, 3, symbol.doc);
  run(_insert_symbol_words, id);
}

void Store::clear_symbols(std::int64_t id) {
  _symbols_of.bind(1, id);
  while (_symbols_of.executeStep()) {
    _names.release_name(_symbols_of.getColumn(1).getInt64());
    _names.release_scope(_symbols_of.getColumn(2).getInt64());
    const auto signature = text_or_none(_symbols_of.getColumn(3));
    const auto doc = text_or_none(_symbols_of.getColumn(4));
    if (!signature && !doc) continue;
    bind_text(_delete_symbol_words, 2, signature);
    bind_text(_delete_symbol_words, 3, doc);
    run(_delete_symbol_words, _symbols_of.getColumn(0).getInt64());
  }
  _symbols_of.reset();
  run(_delete_symbols, id);
}

// ---- References ----

void Store::add_references(std::int64_t file, const PackedFile& packed,
                           const std::vector<std::int64_t>& names) {
  std::vector<std::pair<std::uint64_t, const std::string*>> uses;
  uses.reserve(packed.references.size());
  for (const PackedFile::Reference& reference : packed.references) {
    uses.emplace_back(use_of(names[reference.name], reference.kind), &reference.lines);
  }
  if (uses.empty()) return;
  std::sort(uses.begin(), uses.end());
  std::vector<std::uint64_t> numbers;
  numbers.reserve(uses.size());
  for (const auto& [use, lines] : uses) {
    bind_bytes(_insert_reference, 4, *lines);
    run(_insert_reference, name_of(use), kind_of(use), file);
    numbers.push_back(use);
  }
  const std::string packed_uses = pack_rising(numbers);
  bind_bytes(_insert_uses, 2, packed_uses);
  run(_insert_uses, file);
}

void Store::clear_references(std::int64_t id) {
  _uses_of.bind(1, id);
  if (!_uses_of.executeStep()) {
    _uses_of.reset();
    return;
  }
  const std::string uses = bytes_of(_uses_of.getColumn(0));
  _uses_of.reset();
  for (const std::uint64_t use : unpack_rising(uses)) {
    run(_delete_reference, name_of(use), kind_of(use), id);
    _names.release_name(name_of(use));
  }
  run(_delete_uses, id);
}

// ---- Errors ----

std::size_t Store::for_each_error(
    const std::function<void(const std::string& path, const std::string& text)>& take,
    std::uint64_t max_size, std::size_t& large) {
  // Few errors are sorted: a look at every file would take most of the time of a run without a
  // change. Many are found in the order of their files, which needs no memory.
  const bool is_few =
      _database.execAndGet("SELECT (SELECT count(*) FROM error) * 16 < (SELECT max(id) FROM file)")
          .getInt() != 0;
  SQLite::Statement statement(_database,
                              std::string("SELECT path, text, error.file, size FROM ") +
                                  (is_few ? "error CROSS JOIN file" : "file CROSS JOIN error") +
                                  " ON file.id = error.file ORDER BY path, number");
  std::size_t files = 0;
  std::int64_t last = 0;
  while (statement.executeStep()) {
    const std::int64_t file = statement.getColumn(2).getInt64();
    const auto size = static_cast<std::uint64_t>(statement.getColumn(3).getInt64());
    if (std::exchange(last, file) != file) {
      ++files;
      large += size > max_size ? 1 : 0;
    }
    take(bytes_of(statement.getColumn(0)), bytes_of(statement.getColumn(1)));
  }
  return files;
}

}  // namespace repository
