// The rows of the table `file`, in the order of their paths: all, or those of a selection of paths
// and of what lies below them.
//
// Cost: one statement for each 512 rows, or two for each selected path. One statement over the
// whole run was refused: its transaction would keep the write-ahead log growing. Rows that are
// written meanwhile stand in front of those that are still to be read.
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
  std::int64_t id = 0;  // 0 when the index has no such file
  std::string path;
  FileState state{};
  std::string hash{};  // its 32 bytes; empty for none
  bool is_binary = false;
};

// What a statement selects for file_row(), in this order.
inline constexpr const char* FILE_COLUMNS =
    "id, path, size, mtime, ctime, inode, hash, language IS NULL";
FileRow file_row(const SQLite::Statement& statement);

class FileRows {
 public:
  explicit FileRows(SQLite::Database connection, const walk::Selection& selection = {});

  // The next row, until it is skipped; nullptr at the end.
  const FileRow* peek();
  void skip() { ++_next; }

 private:
  // Paths from `begin` on and before `end`.
  struct Range {
    std::string begin;
    std::string end;
  };

  void read_more();
  void read_more_of(const Range& range);

  SQLite::Database _connection;
  SQLite::Statement _statement;
  const bool _is_all;
  std::vector<FileRow> _rows;
  std::size_t _next = 0;
  std::vector<Range> _ranges;
  std::size_t _range = 0;  // the one that is being read
};

}  // namespace repository
