// What tells without reading whether a file is as it was.
#pragma once

#include <sys/stat.h>

#include <algorithm>
#include <cstdint>

namespace repository {

struct FileState {
  static constexpr std::int64_t UNTRUSTED = -1;

  std::int64_t size = 0;
  std::int64_t mtime = UNTRUSTED;  // in nanoseconds; UNTRUSTED when the others prove nothing
  std::int64_t ctime = 0;          // changes with what somebody does to the others
  std::int64_t inode = 0;

  bool operator==(const FileState&) const = default;

  static FileState of(const struct stat& status) {
    const auto time = [](const timespec& at) {
      return std::int64_t{at.tv_sec} * 1'000'000'000 + at.tv_nsec;
    };
    return {status.st_size, time(status.st_mtim), time(status.st_ctim),
            static_cast<std::int64_t>(status.st_ino)};
  }

  // Whether a file that is written after `since` cannot look like this. Times may be whole seconds,
  // or even ones, in file systems that keep no more of them.
  bool is_proof(std::int64_t since) const {
    constexpr std::int64_t COARSE = 1'000'000'000;
    const std::int64_t last = std::max(mtime, ctime);
    return last + (ctime % COARSE == 0 ? 2 * COARSE : 0) < since;
  }
};

}  // namespace repository
