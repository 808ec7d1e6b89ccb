// Which files of a folder a caller wants: the options of FolderWalk and PathFilter.
//
// Tested by tests/tool_test.py.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace walk {

struct WalkOptions {
  bool hidden = false;     // take entries whose name begins with a full stop, but never `.git`
  bool no_ignore = false;  // read no ignore file
  // Patterns as in an ignore file of the walk's folder, but stronger than every ignore file. Each
  // is taken literally: a `#` begins no comment, and spaces at the end are part of the pattern.
  std::vector<std::string> exclude{};
  // Canonical names of languages: files of others are left out. Empty for all languages.
  std::vector<std::string> types{};

  bool operator==(const WalkOptions&) const = default;

  // Whether `hidden` allows an entry of this name.
  bool takes_name(std::string_view name) const;

  // Whether `types` allows this language.
  bool takes_language(std::string_view language) const;
};

}  // namespace walk
