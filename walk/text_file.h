// Files of rules and settings, which are read whole: ignore files and git's.
//
// Tested by tests/walk_test.cpp.
#pragma once

#include <cstddef>
#include <string>

namespace walk {

// No such file that somebody wrote has a hundredth of it, and its patterns take as much again.
inline constexpr std::size_t MOST_TEXT = std::size_t{16} << 20;

enum class Links : bool { refused, followed };  // of the last component

// Reads the file at `path`, which is relative to the open folder (or AT_FDCWD), into `text`. Gives
// an errno, 0 for success: EISDIR for a folder, EINVAL for a FIFO and the like, which is not waited
// for, EFBIG beyond `most` bytes.
int read_text(int folder, const std::string& path, Links links, std::string& text,
              std::size_t most = MOST_TEXT);

}  // namespace walk
