// What stat() says of a file, by which an index knows an unchanged file without reading it.
//
// Tested by tests/index_test.cpp.
#pragma once

#include <sys/stat.h>

#include <algorithm>
#include <cstdint>

namespace repository {

inline std::int64_t nanoseconds(const timespec& at) {
  return std::int64_t{at.tv_sec} * 1'000'000'000 + at.tv_nsec;
}

struct FileState {
  static constexpr std::int64_t UNTRUSTED = -1;

  std::int64_t size = 0;           // in bytes
  std::int64_t mtime = UNTRUSTED;  // in nanoseconds; UNTRUSTED when equal states prove nothing
  std::int64_t ctime = 0;          // in nanoseconds; unlike mtime it cannot be set back
  std::int64_t inode = 0;

  bool operator==(const FileState&) const = default;

  static FileState of(const struct stat& status) {
    return {status.st_size, nanoseconds(status.st_mtim), nanoseconds(status.st_ctim),
            static_cast<std::int64_t>(status.st_ino)};
  }

  // Whether a file that is written after `since` (in nanoseconds) must have another state. Some
  // file systems keep times as whole seconds, or only even ones.
  bool is_proof(std::int64_t since) const {
    constexpr std::int64_t COARSE = 1'000'000'000;
    const std::int64_t last = std::max(mtime, ctime);
    return last + (ctime % COARSE == 0 ? 2 * COARSE : 0) < since;
  }
};

}  // namespace repository
