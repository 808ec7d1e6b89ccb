// See names.h.
#include "index/names.h"

#include <utility>
#include <vector>

#include "index/statements.h"
#include "index/words.h"

namespace repository {
namespace {

// How many names and how many scopes the caches hold. A full cache is emptied: in a larger
// repository rare names are looked up in the database again and again.
constexpr std::size_t MOST_CACHED = 400'000;
constexpr std::size_t MOST_CACHED_BYTES = std::size_t{32} << 20;

}  // namespace

Names::Names(SQLite::Database& database)
    : _database(database),
      _insert_name(database, "INSERT OR IGNORE INTO name(text) VALUES(?)"),
      _find_name(database, "SELECT id FROM name WHERE text = ?"),
      _name_text(database, "SELECT text FROM name WHERE id = ?"),
      _is_name_used(database,
                    "SELECT EXISTS(SELECT 1 FROM reference WHERE name = ?1) OR "
                    "EXISTS(SELECT 1 FROM symbol WHERE name = ?1) OR "
                    "EXISTS(SELECT 1 FROM scope WHERE name = ?1)"),
      _delete_name(database, "DELETE FROM name WHERE id = ?"),
      _insert_trigram(database, "INSERT INTO name_trigram(rowid, text) VALUES(?, ?)"),
      _delete_trigram(database,
                      "INSERT INTO name_trigram(name_trigram, rowid, text) VALUES('delete', ?, ?)"),
      _insert_words(database, "INSERT INTO name_words(rowid, words) VALUES(?, ?)"),
      _delete_words(database,
                    "INSERT INTO name_words(name_words, rowid, words) VALUES('delete', ?, ?)"),
      _insert_scope(database, "INSERT OR IGNORE INTO scope(parent, name) VALUES(?, ?)"),
      _find_scope(database, "SELECT id FROM scope WHERE parent = ? AND name = ?"),
      _scope_parts(database, "SELECT parent, name FROM scope WHERE id = ?"),
      _is_scope_used(database,
                     "SELECT EXISTS(SELECT 1 FROM scope WHERE parent = ?1) OR "
                     "EXISTS(SELECT 1 FROM symbol WHERE scope = ?1 AND scope <> 0) OR "
                     "EXISTS(SELECT 1 FROM symbol WHERE scope = -?1 AND scope <> 0)"),
      _delete_scope(database, "DELETE FROM scope WHERE id = ?") {}

std::int64_t Names::name(const std::string& text) {
  if (const auto found = _names.find(text); found != _names.end()) return found->second;
  const std::int64_t id = add_name(text);
  _names.emplace(text, id);
  _name_bytes += text.size();
  bound_cache();
  return id;
}

// The id of the new row; none when the row was there already. Refused: RETURNING, with which FTS5
// writes out all that it has gathered, each time.
std::optional<std::int64_t> Names::added_by(SQLite::Statement& statement) {
  const int changes = statement.exec();
  statement.reset();
  return changes == 0 ? std::nullopt : std::optional(_database.getLastInsertRowid());
}

std::int64_t Names::add_name(const std::string& text) {
  _insert_name.bindNoCopy(1, text);
  const auto added = added_by(_insert_name);
  if (!added) {
    _find_name.bindNoCopy(1, text);
    return number_of(_find_name).value();
  }
  _insert_trigram.bindNoCopy(2, text);
  run(_insert_trigram, *added);
  const std::string words = words_of(text);
  _insert_words.bindNoCopy(2, words);
  run(_insert_words, *added);
  return *added;
}

std::int64_t Names::scope(std::int64_t parent, std::int64_t name) {
  const std::pair key(parent, name);
  if (const auto found = _scopes.find(key); found != _scopes.end()) return found->second;
  for (SQLite::Statement* const statement : {&_insert_scope, &_find_scope}) {
    statement->bind(1, parent);
    statement->bind(2, name);
  }
  const auto added = added_by(_insert_scope);
  const std::int64_t id = added ? *added : number_of(_find_scope).value();
  _scopes.emplace(key, id);
  bound_cache();
  return id;
}

void Names::bound_cache() {
  if (_names.size() > MOST_CACHED || _name_bytes > MOST_CACHED_BYTES) {
    _names.clear();
    _name_bytes = 0;
  }
  if (_scopes.size() > MOST_CACHED) _scopes.clear();
}

void Names::release_scope(std::int64_t id) {
  if (id != 0) _released_scopes.insert(id < 0 ? -id : id);
}

// A removed scope may have been the last use of its parent.
void Names::remove_unused_scopes() {
  std::vector<std::int64_t> open(_released_scopes.begin(), _released_scopes.end());
  _released_scopes.clear();
  while (!open.empty()) {
    const std::int64_t id = open.back();
    open.pop_back();
    _is_scope_used.bind(1, id);
    if (number_of(_is_scope_used) == 1) continue;
    _scope_parts.bind(1, id);
    if (!_scope_parts.executeStep()) {
      _scope_parts.reset();
      continue;
    }
    const std::int64_t parent = _scope_parts.getColumn(0).getInt64();
    const std::int64_t name = _scope_parts.getColumn(1).getInt64();
    _scope_parts.reset();
    run(_delete_scope, id);
    _scopes.erase({parent, name});
    release_name(name);
    if (parent != 0) open.push_back(parent);
  }
}

void Names::remove_name(std::int64_t id) {
  _name_text.bind(1, id);
  if (!_name_text.executeStep()) {
    _name_text.reset();
    return;
  }
  const std::string text = bytes_of(_name_text.getColumn(0));
  _name_text.reset();
  _delete_trigram.bindNoCopy(2, text);
  run(_delete_trigram, id);
  const std::string words = words_of(text);
  _delete_words.bindNoCopy(2, words);
  run(_delete_words, id);
  run(_delete_name, id);
  if (_names.erase(text) > 0) _name_bytes -= text.size();
}

void Names::remove_unused() {
  remove_unused_scopes();
  for (const std::int64_t id : _released_names) {
    _is_name_used.bind(1, id);
    if (number_of(_is_name_used) == 0) remove_name(id);
  }
  _released_names.clear();
}

}  // namespace repository
