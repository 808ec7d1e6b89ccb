// Helpers for SQLite's statements: they bind and read texts of any bytes, and run statements that
// give one row at most.
//
// Tested by tests/index_command_test.py.
#pragma once

#include <SQLiteCpp/SQLiteCpp.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace repository {

// Binds a BLOB without a copy: the bytes must last until the statement has run.
inline void bind_bytes(SQLite::Statement& statement, int place, std::string_view bytes) {
  statement.bindNoCopy(place, static_cast<const void*>(bytes.data()),
                       static_cast<int>(bytes.size()));
}

// Binds a TEXT in the same way, or NULL.
inline void bind_text(SQLite::Statement& statement, int place,
                      const std::optional<std::string>& text) {
  if (text) {
    statement.bindNoCopy(place, *text);
  } else {
    statement.bind(place);
  }
}

// Binds the numbers from the first parameter on, runs a statement that gives no row, and resets it.
template <typename... Numbers>
void run(SQLite::Statement& statement, Numbers... numbers) {
  int place = 0;
  (statement.bind(++place, static_cast<std::int64_t>(numbers)), ...);
  statement.exec();
  statement.reset();
}

// Runs and resets the statement. Gives the number in its first column; none when there is no row.
inline std::optional<std::int64_t> number_of(SQLite::Statement& statement) {
  std::optional<std::int64_t> number;
  if (statement.executeStep()) number = statement.getColumn(0).getInt64();
  statement.reset();
  return number;
}

// The bytes of a column, NULs included; empty for NULL.
inline std::string bytes_of(const SQLite::Column& column) {
  const void* const data = column.getBlob();
  return data == nullptr ? std::string()
                         : std::string(static_cast<const char*>(data),
                                       static_cast<std::size_t>(column.getBytes()));
}

inline std::optional<std::string> text_or_none(const SQLite::Column& column) {
  return column.isNull() ? std::nullopt : std::optional(bytes_of(column));
}

}  // namespace repository
