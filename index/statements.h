// What every statement of the index needs: texts of any bytes without a copy, one step, ids.
#pragma once

#include <SQLiteCpp/SQLiteCpp.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace repository {

// The text must last until the statement has run. SQLiteCpp's own functions for std::string end at
// no NUL either, but copy or tell a text from bytes otherwise.
inline void bind_bytes(SQLite::Statement& statement, int place, std::string_view bytes) {
  statement.bindNoCopy(place, static_cast<const void*>(bytes.data()),
                       static_cast<int>(bytes.size()));
}

inline void bind_text(SQLite::Statement& statement, int place,
                      const std::optional<std::string>& text) {
  if (text) {
    statement.bindNoCopy(place, *text);
  } else {
    statement.bind(place);
  }
}

// Binds numbers from the first place on, runs a statement that gives no row, and resets it.
template <typename... Numbers>
void run(SQLite::Statement& statement, Numbers... numbers) {
  int place = 0;
  (statement.bind(++place, static_cast<std::int64_t>(numbers)), ...);
  statement.exec();
  statement.reset();
}

// The number in the first column, if there is a row.
inline std::optional<std::int64_t> number_of(SQLite::Statement& statement) {
  std::optional<std::int64_t> number;
  if (statement.executeStep()) number = statement.getColumn(0).getInt64();
  statement.reset();
  return number;
}

inline std::string bytes_of(const SQLite::Column& column) {
  const void* const data = column.getBlob();
  return data == nullptr ? std::string()
                         : std::string(static_cast<const char*>(data),
                                       static_cast<std::size_t>(column.getBytes()));
}

}  // namespace repository
