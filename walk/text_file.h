// Reads a small file as a whole: ignore files, git's configuration and index.
//
// Tested by tests/walk_test.cpp.
#pragma once

#include <cstddef>
#include <string>

namespace walk {

// In bytes. No ignore file or configuration that people write has a hundredth of it; the patterns
// read from it take as much memory again.
inline constexpr std::size_t MOST_TEXT = std::size_t{16} << 20;

// What to do when the path's last component is a symbolic link.
enum class Links : bool { refused, followed };

// Reads the file at `path`, relative to the descriptor `folder` (or AT_FDCWD), into `text`. Returns
// 0 or an errno: EISDIR for a folder, EINVAL for a FIFO and the like, for which it does not wait,
// EFBIG for more than `most` bytes. "/dev/null" is an empty file.
int read_text(int folder, const std::string& path, Links links, std::string& text,
              std::size_t most = MOST_TEXT);

}  // namespace walk
