// What `languages` and `--version` print.
//
// Tested by tests/tool_test.py.
#pragma once

#include <string>

namespace tool {

// One paragraph per language: its name, then the suffixes and file names that mean it.
std::string languages_text();

// The versions of the tool, the tree-sitter core and every grammar, one per line.
std::string version_text();

// The same with all that decides about records, as one line of JSON.
std::string version_json();

}  // namespace tool
