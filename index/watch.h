// Keeps an index up to date while files change.
//
//   inotify (watcher.h) ─> paths, gathered for some milliseconds ─> a run over these (update.h)
//
// Each batch opens the index anew and holds its lock until it is committed. So other processes may
// write the index between two batches, also by other rules for files, and nothing kept here can be
// out of date. While another process writes, batches wait for it.
//
// Cost: none while nothing changes; a batch takes some milliseconds and what its files take. A
// folder that is new, or whose ignore rules have changed, is walked.
//
// Not noticed are changes of the user's own ignore file and of git's settings outside of the
// repository, and what is written to a file that stays open, until it is closed.
//
// Tested by tests/watch_test.py.
#pragma once

#include <chrono>
#include <cstddef>
#include <functional>

#include "index/update.h"

namespace repository {

struct WatchListener {
  // Called when the first run has ended. `watches`: how many are set.
  std::function<void(const UpdateCounts& counts, std::size_t watches)> ready;
  // Called when a batch is committed. `took`: since its changes were gathered.
  std::function<void(const UpdateCounts& counts, std::chrono::milliseconds took)> batch;
};

// Returns when the descriptor `stop` becomes readable. Throws IndexError when it cannot go on, as
// when the root is gone or the system has no more watches; std::bad_alloc.
void watch(const UpdateOptions& options, const UpdateListener& listener,
           const WatchListener& watch_listener, int stop);

}  // namespace repository
