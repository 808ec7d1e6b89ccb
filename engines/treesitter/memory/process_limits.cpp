// See process_limits.h.
#include "engines/treesitter/memory/process_limits.h"

#include <sched.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string_view>
#include <thread>

#include "engines/treesitter/treesitter.h"

namespace engines::treesitter {
namespace {

constexpr std::uint64_t UNLIMITED = UINT64_MAX;

// The address space that a thread reserves, used or not: malloc's arena and the stack, in the C
// library's default sizes.
constexpr std::uint64_t RESERVED_PER_THREAD = (64 + 8) << 20;

// Where common systems mount the controllers of memory, and the names of their files.
constexpr std::string_view VERSION_2_ROOT = "/sys/fs/cgroup";
constexpr std::string_view VERSION_2_FILE = "/memory.max";
constexpr std::string_view VERSION_1_ROOT = "/sys/fs/cgroup/memory";
constexpr std::string_view VERSION_1_FILE = "/memory.limit_in_bytes";

using Line = std::array<char, 4352>;  // longer than the longest path

using File = std::unique_ptr<std::FILE, int (*)(std::FILE*)>;
File open_for_reading(const char* path) { return {std::fopen(path, "re"), std::fclose}; }

// The number in the file, or UNLIMITED when there is no such file or it says "max".
std::uint64_t limit_in(const char* path) {
  const File file = open_for_reading(path);
  Line line{};
  if (!file || std::fgets(line.data(), static_cast<int>(line.size()), file.get()) == nullptr) {
    return UNLIMITED;
  }
  std::uint64_t limit = 0;
  const auto parsed = std::from_chars(line.data(), line.data() + std::strlen(line.data()), limit);
  return parsed.ec == std::errc() ? limit : UNLIMITED;
}

// The least limit of the group and of the groups around it.
std::uint64_t limit_of_groups(std::string_view root, std::string_view group,
                              std::string_view file) {
  std::uint64_t least = UNLIMITED;
  for (;;) {
    while (group.ends_with('/')) group.remove_suffix(1);
    Line path{};
    if (root.size() + group.size() + file.size() >= path.size()) return least;
    char* end = std::copy(root.begin(), root.end(), path.data());
    end = std::copy(group.begin(), group.end(), end);
    std::copy(file.begin(), file.end(), end);
    least = std::min(least, limit_in(path.data()));
    if (group.empty()) return least;
    const std::size_t slash = group.rfind('/');
    group = group.substr(0, slash == std::string_view::npos ? 0 : slash);
  }
}

// Lines read "0::/group" in version 2, "7:memory:/group" in version 1.
std::uint64_t control_group_limit() {
  const File file = open_for_reading("/proc/self/cgroup");
  std::uint64_t least = UNLIMITED;
  Line buffer{};
  while (file &&
         std::fgets(buffer.data(), static_cast<int>(buffer.size()), file.get()) != nullptr) {
    std::string_view line(buffer.data());
    if (line.ends_with('\n')) line.remove_suffix(1);
    const std::size_t first = line.find(':');
    const std::size_t second = line.find(':', first + 1);
    if (first == std::string_view::npos || second == std::string_view::npos) continue;
    const std::string_view controllers = line.substr(first + 1, second - first - 1);
    const std::string_view group = line.substr(second + 1);
    if (controllers.empty()) {
      least = std::min(least, limit_of_groups(VERSION_2_ROOT, group, VERSION_2_FILE));
    } else if (controllers.find("memory") != std::string_view::npos) {
      least = std::min(least, limit_of_groups(VERSION_1_ROOT, group, VERSION_1_FILE));
    }
  }
  return least;
}

std::uint64_t address_space_limit() {
  rlimit limit{};
  if (::getrlimit(RLIMIT_AS, &limit) != 0 || limit.rlim_cur == RLIM_INFINITY) return UNLIMITED;
  return limit.rlim_cur;
}

std::uint64_t physical_memory() {
  const long pages = ::sysconf(_SC_PHYS_PAGES);
  const long page = ::sysconf(_SC_PAGESIZE);
  if (pages <= 0 || page <= 0) return UNLIMITED;
  return static_cast<std::uint64_t>(pages) * static_cast<std::uint64_t>(page);
}

}  // namespace

std::uint64_t process_memory_limit() {
  return std::min({physical_memory(), address_space_limit(), control_group_limit()});
}

std::size_t affordable_threads() {
  return std::max<std::uint64_t>(address_space_limit() / 4 / RESERVED_PER_THREAD, 1);
}

std::size_t usable_processors() {
  cpu_set_t processors;
  CPU_ZERO(&processors);
  const bool is_known = ::sched_getaffinity(0, sizeof processors, &processors) == 0;
  // It fails on machines with more processors than the set has room for.
  const std::size_t count = is_known ? static_cast<std::size_t>(CPU_COUNT(&processors))
                                     : std::thread::hardware_concurrency();
  return std::max<std::size_t>(count, 1);
}

}  // namespace engines::treesitter
