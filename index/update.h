// A run over a repository that makes its index, or brings it up to date.
//
//   walk + rows (changes.h) ─> threads: hash, parse, pack ─> this thread: batches (store.h)
//
// What travels is bounded by the engine's own run, so that memory does not depend on the size of
// the repository.
//
// Tested by tests/index_command_test.py.
#pragma once

#include <cstddef>
#include <functional>
#include <optional>
#include <stop_token>
#include <string>

#include "engines/treesitter/treesitter.h"
#include "index/file_rules.h"
#include "index/place.h"
#include "walk/folder_walk.h"
#include "walk/found.h"
#include "walk/selection.h"

namespace repository {

struct UpdateOptions {
  std::string path = ".";               // a folder of the repository
  std::optional<std::string> database;  // by default in the root's hidden folder
  engines::treesitter::Rules rules = engines::treesitter::Rules::navigation;
  // Which files; by default as a run before was told. They hold for later runs.
  std::optional<FileRules> files = std::nullopt;
  std::size_t threads = 0;  // 0 for as many as processors may be used
};

struct UpdateCounts {
  std::size_t changed = 0;  // or new
  std::size_t unchanged = 0;
  std::size_t removed = 0;
  std::size_t binary = 0;  // left out
  std::size_t failed = 0;  // at the end: files and folders with an error
  std::size_t large = 0;   // of the failed: larger than the rules allow
  walk::LeftOut left_out;  // at the end
  std::size_t files() const { return changed + unchanged; }
};

// What a run tells its host, on the thread that called it.
struct UpdateListener {
  std::function<void(const std::string& text)> note;  // something that is worth knowing
  std::function<void(const std::string& path, const std::string& text)> error;
  // Called often. `longest`: the file that has been under way longest, its path from the root.
  std::function<void(const UpdateCounts& counts,
                     const std::optional<engines::treesitter::ParseMany::UnderWay>& longest)>
      progress;
};

// What a run looks at, and who is told of folders on the way; by default all, and nobody.
struct UpdateScope {
  // Asked when the index is open and locked, of its rules and whether it is complete; to be all if
  // it is not. A run over less is one batch, and knows of the errors that it meets alone.
  std::function<walk::Selection(const FileRules& rules, bool is_complete)> select = {};
  walk::FolderWalk::Entering entering = {};
  // Ends the run. What a batch has not committed then is lost.
  std::stop_token stop = {};
};

// Runs over a repository, one after the other.
class Updater {
 public:
  // The options but for `files` hold for all runs. Throws IndexError when there is no such folder.
  explicit Updater(UpdateOptions options, UpdateListener listener);

  const Place& place() const { return _place; }

  // Throws IndexError when there is no index after it, or an old one, and LockedError;
  // std::bad_alloc.
  UpdateCounts operator()(const UpdateScope& scope = {});

 private:
  UpdateOptions _options;
  const UpdateListener _listener;
  const Place _place;
  const engines::treesitter::TreeSitterEngine _engine;
};

// A run over all. Throws as Updater.
UpdateCounts update(const UpdateOptions& options, const UpdateListener& listener);

}  // namespace repository
