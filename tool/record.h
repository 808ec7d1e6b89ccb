// What became of one path, as both output formats print it.
#pragma once

#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "engines/treesitter/treesitter.h"

namespace tool {

// The path tells no language, so there was nothing to parse.
struct UnknownLanguage {};

// Neither the engine nor its parsers came to see the path: a folder that cannot be listed, a
// missing file whose name tells no language, a file of a forced language that cannot be read.
struct Unreadable {
  std::optional<std::string> language;  // the forced one
  std::string error;                    // begins with "Failed to read "
};

// An error that the engine hands to its caller; no result exists.
struct Raised {
  std::string error;
};

struct Record {
  std::string path;  // as the user gave it, or as the walk of a folder found it; any bytes
  std::variant<engines::treesitter::ParseResult, UnknownLanguage, Unreadable, Raised> outcome;
};

// Whether the outcome makes the whole run end with status 1. A file of unknown language does not:
// lists made by other tools hold licences and pictures.
bool has_failed(const Record& record);

// The error texts of the outcome, in order.
std::vector<std::string> error_texts(const Record& record);

}  // namespace tool
