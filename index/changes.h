// Finds what has changed since an index was made. The walk over the repository and the rows of the
// index come in the same order, that of paths, so that they are compared in one pass.
//
// A file counts as removed only when a complete listing no longer shows it. What lies below a
// folder that could not be read, or whose ignore rules could not, stays as it is.
//
// Cost: one fstatat() for a file that is as it was.
//
// Tested by tests/index_command_test.py and tests/watch_test.py.
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
  FileRow row;           // as the index has it; of a new file and of a fault only `path` is set
  FileState now{};       // of a written file
  std::string fault{};   // of a fault: a text for people
  bool is_long = false;  // the path is too long for the system: open_last() has to open the file
};

// Where to look for changes. `root`: absolute. `entering`: called for each folder (FolderWalk).
struct Look {
  std::string root;
  walk::WalkOptions options{};
  walk::Selection selection{};
  walk::FolderWalk::Entering entering{};
};

class Changes {
 public:
  // `since`: no file that is written from now on gets a time before this one, in nanoseconds.
  Changes(Look look, SQLite::Database connection, std::int64_t since);

  // The next change, in the order of paths; none at the end. For one thread at a time. Throws
  // IndexError when the root cannot be read.
  std::optional<Change> next();

  // Opens the file of the change that was given last. A descriptor that the caller closes, or -1.
  int open_last() { return _walk.open_last(); }

  // How many files so far are as they were: those with a language, and binary ones. For any thread.
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

  const std::string _prefix;  // of the walk's paths: the root with a "/" behind it
  FileRows _rows;
  walk::FolderWalk _walk;
  const std::int64_t _since;
  std::optional<walk::Found> _found;  // not dealt with yet; a file's path is from the root
  bool _has_ended = false;
  std::unordered_set<std::string> _blind;  // folders that may hold more than was listed; "" for all
  std::atomic<std::size_t> _unchanged = 0;
  std::atomic<std::size_t> _unchanged_binary = 0;
};

}  // namespace repository
