// Helpers around calls of the operating system.
//
// Tested by tests/index_faults_test.py, which makes such calls fail.
#pragma once

#include <fcntl.h>

#include <cerrno>
#include <string>
#include <system_error>

#include "index/index_error.h"

namespace repository {

// Repeats a call that a signal has interrupted before it did anything.
template <typename Call>
auto retried(const Call& call) {
  for (;;) {
    const auto result = call();
    if (result >= 0 || errno != EINTR) return result;
  }
}

// Throws the IndexError "cannot WHAT 'PATH': the system's words for errno".
[[noreturn]] inline void throw_system_error(const std::string& what, const std::string& path) {
  throw IndexError("cannot " + what + " '" + path + "': " + std::generic_category().message(errno));
}

// Opens a file that the walk has listed. Follows no link and never waits, since a link or a FIFO
// may have replaced the file. Gives a descriptor that the caller closes, or -1.
inline int open_file(const std::string& path) {
  constexpr int FLAGS = O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC | O_NOCTTY;
  return ::open(path.c_str(), FLAGS);
}

}  // namespace repository
