// What an index knows of the files, in the order of their paths.
//
// Rows are read some thousands at a time, each time by a question of its own: a transaction that
// lasted as long as the run would keep the write-ahead log growing. What is written meanwhile lies
// in front of what is read.
//
// Tested by tests/index_command_test.py.
#pragma once

#include <SQLiteCpp/SQLiteCpp.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "index/file_state.h"

namespace repository {

struct FileRow {
  std::int64_t id = 0;  // 0: the index has no such file
  std::string path;
  FileState state{};
  std::string hash{};  // empty for none
  bool is_binary = false;
};

class FileRows {
 public:
  explicit FileRows(SQLite::Database connection);

  // The next one, which stays until it is skipped; nullptr at the end.
  const FileRow* peek();
  void skip() { ++_next; }

 private:
  void read_more();

  SQLite::Database _connection;
  SQLite::Statement _statement;
  std::vector<FileRow> _rows;
  std::size_t _next = 0;
  std::string _last_path;
  bool _has_ended = false;
};

}  // namespace repository
