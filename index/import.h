// Indexes out of records that were made elsewhere: those of a run over many machines.
//
// What lay at their place is made anew. Nothing is known of the files themselves but their hashes,
// so that the next run over the repository reads each of them once, and parses those with other
// bytes.
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
  std::string path;                         // absolute, or from the root; any bytes
  engines::treesitter::ParseResult result;  // with the path that its FQNs begin with
};

// None at the end. What it throws ends the import, and leaves an incomplete index.
using NextRecord = std::function<std::optional<ImportedRecord>()>;

// One index. Of the options `path`, `database` and `rules`, by which the records were made. Throws
// IndexError, also for a path that is not in the root, and as Updater.
UpdateCounts import_records(const UpdateOptions& options, const UpdateListener& listener,
                            const NextRecord& next);

// An index for each folder at the root, below the folder of a catalogue (catalogue.h). Of the
// options `path` and `rules`. Throws as above.
UpdateCounts import_catalogue(const UpdateOptions& options, const std::string& folder,
                              const UpdateListener& listener, const NextRecord& next);

}  // namespace repository
