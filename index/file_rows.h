// What an index knows of the files, in the order of their paths.
//
// Of a selection of paths only the rows of those, and of what lies below them: two questions each.
//
// Rows are read some hundreds at a time, each time by a question of its own: a transaction that
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
#include "walk/selection.h"

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
  explicit FileRows(SQLite::Database connection, const walk::Selection& selection = {});

  // The next one, which stays until it is skipped; nullptr at the end.
  const FileRow* peek();
  void skip() { ++_next; }

 private:
  // Paths from the first on and in front of the second.
  struct Range {
    std::string begin;
    std::string end;
  };

  void read_more();
  void read_more_of(Range& range);

  SQLite::Database _connection;
  SQLite::Statement _statement;
  const bool _is_all;
  std::vector<FileRow> _rows;
  std::size_t _next = 0;
  std::vector<Range> _ranges;
  std::size_t _range = 0;  // the one that is read
};

}  // namespace repository
