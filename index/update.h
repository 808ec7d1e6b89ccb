// A run over a repository: makes its index, or brings it up to date.
//
//   walk + rows (changes.h) ─> threads: hash, parse, pack ─> this thread: batches (store.h)
//
// The engine's ParseMany bounds what is under way, so that memory does not depend on the size of
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
  // Which files; by default the rules that the index keeps. New ones are kept for later runs.
  std::optional<FileRules> files = std::nullopt;
  std::size_t threads = 0;  // 0: one for each processor that may be used
};

struct UpdateCounts {
  std::size_t changed = 0;  // new ones too
  std::size_t unchanged = 0;
  std::size_t removed = 0;
  std::size_t binary = 0;  // no files of the index, and in none of the other counts
  std::size_t failed = 0;  // set at the end: files and folders with an error
  std::size_t large = 0;   // set at the end: of the failed, those larger than the rules allow
  walk::LeftOut left_out;  // set at the end
  std::size_t files() const { return changed + unchanged; }
};

// What a run reports, on the thread that called it. All functions must be set. Paths are from the
// root.
struct UpdateListener {
  std::function<void(const std::string& text)> note;
  std::function<void(const std::string& path, const std::string& text)> error;
  // Called often. `longest`: the file that has been in parsing for the longest time.
  std::function<void(const UpdateCounts& counts,
                     const std::optional<engines::treesitter::ParseMany::UnderWay>& longest)>
      progress;
};

// A part of a repository; by default all of it.
struct UpdateScope {
  // Gives the paths to look at. Called once the index is open and locked, with the rules that hold.
  // It must give all when the index is not complete. A run over less is one batch, and reports only
  // the errors that it meets.
  std::function<walk::Selection(const FileRules& rules, bool is_complete)> select = {};
  // Called for each folder that the walk enters (FolderWalk).
  walk::FolderWalk::Entering entering = {};
  // Ends the run. What it has not committed is lost: all of a run over a part.
  std::stop_token stop = {};
};

// Makes runs over a repository, one after the other. For one thread.
class Updater {
 public:
  // `files` of the options is for the first run alone. Throws IndexError when there is no such
  // folder.
  explicit Updater(UpdateOptions options, UpdateListener listener);

  const Place& place() const { return _place; }

  // Makes a run. Throws IndexError when it could not, so that there is no index or the old one;
  // LockedError, an IndexError too, while another process writes; std::bad_alloc.
  UpdateCounts operator()(const UpdateScope& scope = {});

 private:
  UpdateOptions _options;
  const UpdateListener _listener;
  const Place _place;
  const engines::treesitter::TreeSitterEngine _engine;
};

// One run over all. Throws what Updater throws.
UpdateCounts update(const UpdateOptions& options, const UpdateListener& listener);

}  // namespace repository
