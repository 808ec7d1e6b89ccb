// Makes indexes out of records that were made elsewhere, by a run over many machines.
//
// An index that was there is made anew. Of the files themselves only the hashes are known, so that
// the next run over the repository reads each file once, and parses those whose bytes differ.
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
  // Its path is the one from which the FQNs were made.
  engines::treesitter::ParseResult result;
};

// Gives the next record; none at the end. What it throws ends the import, and leaves an incomplete
// index.
using NextRecord = std::function<std::optional<ImportedRecord>()>;

// Makes one index. Of the options it takes `path`, `database` and `rules`, by which the records
// were made. Throws what Updater throws, and IndexError for a path that does not lie in the root.
UpdateCounts import_records(const UpdateOptions& options, const UpdateListener& listener,
                            const NextRecord& next);

// Makes a catalogue (catalogue.h) in that folder, with an index for each folder at the root. Of the
// options it takes `path` and `rules`. Throws as above.
UpdateCounts import_catalogue(const UpdateOptions& options, const std::string& folder,
                              const UpdateListener& listener, const NextRecord& next);

}  // namespace repository
