// See file_rows.h.
#include "index/file_rows.h"

#include <algorithm>
#include <utility>

#include "index/statements.h"

namespace repository {
namespace {

constexpr std::size_t ROWS_AT_A_TIME = 512;

// In KiB. Each page is read once, in order, so that a larger cache would gain nothing.
const char* const SMALL_CACHE = "PRAGMA cache_size = -256";

SQLite::Database with_small_cache(SQLite::Database connection) {
  connection.exec(SMALL_CACHE);
  return connection;
}

}  // namespace

FileRow file_row(const SQLite::Statement& statement) {
  const auto number = [&](int column) { return statement.getColumn(column).getInt64(); };
  return {number(0), bytes_of(statement.getColumn(1)),
          FileState{number(2), number(3), number(4), number(5)}, bytes_of(statement.getColumn(6)),
          number(7) != 0};
}

FileRows::FileRows(SQLite::Database connection, const walk::Selection& selection)
    : _connection(with_small_cache(std::move(connection))),
      _statement(_connection, std::string("SELECT ") + FILE_COLUMNS +
                                  " FROM file WHERE path >= ?1" +
                                  (selection.is_all() ? "" : " AND path < ?2") +
                                  " ORDER BY path LIMIT " + std::to_string(ROWS_AT_A_TIME)),
      _is_all(selection.is_all()) {
  if (_is_all) {
    _ranges.push_back({});
    return;
  }
  // Two ranges for each path, since others may lie between it and what is below it: `a`, `a.c`,
  // `a/b`.
  for (const std::string& way : selection.ways()) {
    const std::string path = way.substr(0, way.size() - 1);
    _ranges.push_back({path, path + '\0'});
    _ranges.push_back({way, path + static_cast<char>('/' + 1)});
  }
  std::sort(_ranges.begin(), _ranges.end(),
            [](const Range& one, const Range& other) { return one.begin < other.begin; });
}

void FileRows::read_more_of(const Range& range) {
  bind_bytes(_statement, 1, range.begin);
  if (!_is_all) bind_bytes(_statement, 2, range.end);
  while (_statement.executeStep()) _rows.push_back(file_row(_statement));
  _statement.reset();
}

void FileRows::read_more() {
  _rows.clear();
  _next = 0;
  while (_rows.empty() && _range < _ranges.size()) {
    Range& range = _ranges[_range];
    read_more_of(range);
    if (_rows.size() < ROWS_AT_A_TIME) {
      ++_range;
    } else {
      range.begin = _rows.back().path + '\0';  // the next path that can be
    }
  }
}

const FileRow* FileRows::peek() {
  if (_next == _rows.size()) read_more();
  return _next < _rows.size() ? &_rows[_next] : nullptr;
}

}  // namespace repository
