// Reads a record from its JSON form (json_output.h).
//
// Cost: for a moment about ten times the record's memory.
//
// Tested by tests/cluster/test_index.py.
#pragma once

#include <optional>
#include <string>

#include "index/import.h"

namespace tool {

// `line`: one record, without its line feed. None for a file of unknown language. Throws some
// std::exception, whose text says why, when the line is no record.
std::optional<repository::ImportedRecord> read_record(const std::string& line);

}  // namespace tool
