// See file_rows.h.
#include "index/file_rows.h"

#include <utility>

#include "index/statements.h"

namespace repository {
namespace {

constexpr int ROWS_AT_A_TIME = 4096;

}  // namespace

FileRows::FileRows(SQLite::Database connection)
    : _connection(std::move(connection)),
      _statement(_connection,
                 "SELECT id, path, size, mtime, ctime, inode, hash, language IS NULL FROM file "
                 "WHERE path > ? ORDER BY path LIMIT " +
                     std::to_string(ROWS_AT_A_TIME)) {}

void FileRows::read_more() {
  _rows.clear();
  _next = 0;
  // No path is empty, and NULL would compare with none.
  bind_bytes(_statement, 1, _last_path);
  while (_statement.executeStep()) {
    const auto number = [&](int column) { return _statement.getColumn(column).getInt64(); };
    _rows.push_back({number(0), bytes_of(_statement.getColumn(1)),
                     FileState{number(2), number(3), number(4), number(5)},
                     bytes_of(_statement.getColumn(6)), number(7) != 0});
  }
  _statement.reset();
  _has_ended = _rows.size() < ROWS_AT_A_TIME;
  if (!_rows.empty()) _last_path = _rows.back().path;
}

const FileRow* FileRows::peek() {
  if (_next == _rows.size() && !_has_ended) read_more();
  return _next < _rows.size() ? &_rows[_next] : nullptr;
}

}  // namespace repository
