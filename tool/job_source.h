// What is to be parsed, in order: the paths of the command line, then those of the list, and for a
// folder the files below it.
//
// Tested by tests/tool_test.py.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "tool/arguments.h"
#include "tool/folder_walk.h"
#include "tool/path_list.h"

namespace tool {

enum class Origin : std::uint8_t {
  named,           // by the user, on the command line or in a list
  found,           // in a folder
  standard_input,  // content, not a path
};

struct Job {
  std::string path;
  Origin origin;
  std::optional<std::string>
      error;  // of a folder that cannot be listed: nothing is left to be done
};

// One at a time, found when asked for. To be used by one thread at a time.
class JobSource {
 public:
  // The arguments must outlive it. Throws PathListError.
  explicit JobSource(const Arguments& arguments);

  // None at the end. Throws PathListError.
  std::optional<Job> next();

 private:
  std::optional<Job> next_named();

  const std::vector<std::string>& _paths;
  std::size_t _next_path = 0;
  std::optional<PathList> _list;
  std::optional<FolderWalk> _walk;  // of the folder that was named last
};

}  // namespace tool
