// A record as JSON, as json_output.h writes it, read back.
//
// Cost: about ten times the record's memory for a moment.
//
// Tested by tests/cluster/test_index.py.
#pragma once

#include <optional>
#include <string>

#include "index/import.h"

namespace tool {

// None for a file of unknown language. Throws std::runtime_error, which says why, for what is no
// record.
std::optional<repository::ImportedRecord> read_record(const std::string& line);

}  // namespace tool
