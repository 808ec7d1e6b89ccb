// A list of paths in a file or on standard input, read as it is used, so that the list may be
// longer than memory and may still be growing.
//
// Tested by tests/tool_test.py.
#pragma once

#include <cstdio>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>

namespace tool {

// The list cannot be read, or is none. Its text names it.
class PathListError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

class PathList {
 public:
  // `name`: a file, or "-" for standard input. `separator`: '\n' or '\0'. Throws PathListError.
  PathList(const std::string& name, char separator);

  // The next path, byte for byte what stands between two separators; none at the end. Empty ones
  // are left out. Waits for a list that somebody is still writing. Throws PathListError.
  std::optional<std::string> next();

 private:
  std::string _name;
  char _separator;
  std::unique_ptr<std::FILE, int (*)(std::FILE*)> _file;
};

}  // namespace tool
