// Keeps an index up to date while files change.
//
//   inotify (watcher.h) ─> paths, gathered for some milliseconds ─> a run over these (update.h)
//
// Each batch opens the index anew and holds its lock until it is committed. So others may write it
// between two batches, also by other rules for files, and nothing that is kept here can be
// outdated. While another process writes, batches wait for it.
//
// Cost: while nothing changes none; a batch some milliseconds and what its files take. A folder
// that is new, or whose ignore rules have changed, is walked.
//
// Not noticed: the user's own ignore file, settings of git outside of the repository, and what is
// written to a file that stays open, until it is closed.
//
// Tested by tests/watch_test.py.
#pragma once

#include <chrono>
#include <cstddef>
#include <functional>

#include "index/update.h"

namespace repository {

struct WatchListener {
  // The first run has ended, and this many watches are set.
  std::function<void(const UpdateCounts& counts, std::size_t watches)> ready;
  // A batch is committed. `took`: behind the gathering of its changes.
  std::function<void(const UpdateCounts& counts, std::chrono::milliseconds took)> batch;
};

// Returns when there is something to be read from the descriptor `stop`. Throws IndexError when it
// cannot go on, such as without the root or for want of watches; std::bad_alloc.
void watch(const UpdateOptions& options, const UpdateListener& listener,
           const WatchListener& watch_listener, int stop);

}  // namespace repository
