// What the command `check` finds out about a file, and the two forms in which it is printed.
//
// Tested by tests/check_test.py.
#pragma once

#include <array>
#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "engines/languages/languages.h"
#include "engines/treesitter/treesitter.h"
#include "tool/byte_sink.h"

namespace tool {

struct Checked {
  std::string path;
  std::string language;                                          // empty when it is unknown
  std::optional<engines::languages::DetectedLanguage> detected;  // none with --language
  engines::treesitter::Rules rules = engines::treesitter::Rules::standard;
  engines::treesitter::ParseReport report;
  std::string content_hash;  // empty when the bytes were not read to their end
  std::map<std::string_view, std::size_t> symbols;  // how many of each kind
  std::map<std::string, std::size_t> references;    // the same
  std::vector<std::string> errors;
};

// The steps of a parse in their order, with their times; none for a step that was not reached.
std::array<std::pair<std::string_view, std::optional<engines::treesitter::ParseReport::Duration>>,
           5>
steps_of(const engines::treesitter::ParseReport& report);

// A line for each fact, none for what the parse did not reach; and one object on one line, with all
// fields, null for what was not reached. Both take 64 KiB of stack.
void write_check_text(ByteSink& sink, const Checked& checked);
void write_check_json(ByteSink& sink, const Checked& checked);

}  // namespace tool
