// What is to be done to an index: the walk of the repository beside the rows of its files, both in
// the order of their paths.
//
// Cost: for a file that is as it was one fstatat() and no question to the database.
//
// Only what a complete listing no longer shows is taken for removed. What lies below a folder that
// could not be read, or whose ignore rules could not, stays as it is.
//
// Tested by tests/index_command_test.py.
#pragma once

#include <SQLiteCpp/SQLiteCpp.h>

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <unordered_set>

#include "index/file_rows.h"
#include "index/file_state.h"
#include "walk/folder_walk.h"

namespace repository {

struct Change {
  enum class Kind : std::uint8_t { written, removed, fault };
  Kind kind;
  FileRow row;      // as the index has it; only `path` is of use for a fault, and for a new file
  FileState now{};  // of a written one
  std::string fault{};   // a text for people
  bool is_long = false;  // the system takes no such path: the walk has to open the file
};

// What of a repository is looked at, and who is told of its folders (see FolderWalk). `root`:
// absolute.
struct Look {
  std::string root;
  walk::WalkOptions options{};
  walk::Selection selection{};
  walk::FolderWalk::Entering entering{};
};

class Changes {
 public:
  // `since`: what is written from now on has at least this time.
  Changes(Look look, SQLite::Database connection, std::int64_t since);

  // None at the end. For one thread at a time. Throws IndexError when the root cannot be read.
  std::optional<Change> next();

  // A descriptor of the file of the change that was given last, which is the caller's, or -1.
  int open_last() { return _walk.open_last(); }

  // Files that are as they were, so far. For any thread.
  std::size_t unchanged() const { return _unchanged; }
  std::size_t unchanged_binary() const { return _unchanged_binary; }

  const walk::LeftOut& left_out() const { return _walk.left_out(); }

 private:
  std::optional<Change> removal();
  std::optional<Change> seen();
  Change fault();
  bool is_blind(const std::string& path) const;
  bool advance();
  void count_unchanged(const FileRow& row) { ++(row.is_binary ? _unchanged_binary : _unchanged); }

  const std::string _prefix;  // of the walk's paths: the root, "/"
  FileRows _rows;
  walk::FolderWalk _walk;
  const std::int64_t _since;
  std::optional<walk::Found> _found;  // its path from the root
  bool _has_ended = false;
  std::unordered_set<std::string> _blind;  // folders of which not all is known
  std::atomic<std::size_t> _unchanged = 0;
  std::atomic<std::size_t> _unchanged_binary = 0;
};

}  // namespace repository
