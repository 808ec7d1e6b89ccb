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
#include <string>

#include "engines/treesitter/treesitter.h"
#include "walk/found.h"

namespace repository {

struct UpdateOptions {
  std::string path = ".";               // a folder of the repository
  std::optional<std::string> database;  // by default in the root's hidden folder
  engines::treesitter::Rules rules = engines::treesitter::Rules::navigation;
  std::size_t threads = 0;  // 0 for as many as processors may be used
};

struct UpdateCounts {
  std::size_t changed = 0;  // or new
  std::size_t unchanged = 0;
  std::size_t removed = 0;
  std::size_t binary = 0;  // left out, of those that were looked at
  std::size_t failed = 0;  // at the end: files and folders with an error
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

// Throws IndexError when there is no index after it, or an old one; std::bad_alloc.
UpdateCounts update(const UpdateOptions& options, const UpdateListener& listener);

}  // namespace repository
