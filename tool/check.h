// The command `check`: one file, and all that can be said of how it parses.
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
#include "tool/arguments.h"
#include "tool/byte_sink.h"

namespace tool {

// What the command found, for both of its forms.
struct Checked {
  std::string path;
  std::string language;                                          // empty when nothing tells it
  std::optional<engines::languages::DetectedLanguage> detected;  // none when it was told
  engines::treesitter::Rules rules = engines::treesitter::Rules::standard;
  engines::treesitter::ParseReport report;
  std::string content_hash;  // empty when the bytes were not read to their end
  std::map<std::string_view, std::size_t> symbols;  // numbers by kind
  std::map<std::string, std::size_t> references;
  std::vector<std::string> errors;
};

// "UTF-8" and its like, and the same as a word of JSON: "utf8".
std::string_view encoding_text(engines::treesitter::Encoding encoding);
std::string_view encoding_word(engines::treesitter::Encoding encoding);

// The names of the steps of a parse, with their times.
std::array<std::pair<std::string_view, std::optional<engines::treesitter::ParseReport::Duration>>,
           5>
steps_of(const engines::treesitter::ParseReport& report);

// Both take 64 KiB of stack.
void write_check_text(ByteSink& sink, const Checked& checked);  // one line for each fact
void write_check_json(ByteSink& sink, const Checked& checked);  // one object on one line

// Parses the file of the arguments and writes what was found. Gives the exit status.
int check(const Arguments& arguments);

}  // namespace tool
