// A list of paths from a file or from standard input. It is read as it is used, so that it may be
// longer than memory and somebody may still be writing it.
//
// Tested by tests/tool_test.py.
#pragma once

#include <cstdio>
#include <memory>
#include <optional>
#include <string>

namespace tool {

class PathList {
 public:
  // `name`: a file, or "-" for standard input. `separator`: '\n' or '\0'. Throws std::runtime_error
  // when the file cannot be opened.
  PathList(const std::string& name, char separator);

  // The bytes between two separators, empty paths left out; none at the end. Waits when the list is
  // a pipe. Throws std::runtime_error when the list cannot be read, or is no list of paths.
  std::optional<std::string> next();

 private:
  std::string _name;
  char _separator;
  std::unique_ptr<std::FILE, int (*)(std::FILE*)> _file;
};

}  // namespace tool
