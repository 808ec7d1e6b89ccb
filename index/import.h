// An index out of records that were made elsewhere: those of a run over many machines.
//
// What lay at its place is made anew. Nothing is known of the files themselves but their hashes, so
// that the next run over the repository reads each of them once, and parses those with other bytes.
//
// Cost: that of a first run without its parsing, on one thread.
//
// Tested by tests/cluster/test_index.py.
#pragma once

#include <functional>
#include <optional>
#include <string>

#include "engines/treesitter/treesitter.h"
#include "index/update.h"

namespace repository {

struct ImportedRecord {
  std::string path;  // absolute, or from the root; any bytes
  engines::treesitter::ParseResult result;  // with the path that its FQNs begin with
};

// Of the options `path`, `database` and `rules`, by which the records were made. `next` gives none
// at the end; what it throws ends the run, and leaves an incomplete index. Throws IndexError, also
// for a path that is not in the root, and as Updater.
UpdateCounts import_records(const UpdateOptions& options, const UpdateListener& listener,
                            const std::function<std::optional<ImportedRecord>()>& next);

}  // namespace repository
