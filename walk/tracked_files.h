// The files that git tracks in a working tree, from its index. They count although a pattern of
// git's ignores them.
//
// Cost: the index, some 90 bytes for each tracked file, is read once; the paths stay in memory with
// 9 bytes for each. Each question is a binary search.
//
// Tested by tests/ignore_parity_test.py against git itself, and by tests/walk_test.cpp.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace walk {

class TrackedFiles {
 public:
  TrackedFiles() = default;  // nothing is tracked

  // Adds the paths of an index of version 2, 3 or 4, given as its bytes. `hash_size`: the bytes of
  // an object's name, 20 or 32. Returns 0, or EBADMSG for bytes that are no such index. Of a split
  // index only the part in this file counts.
  int read(const std::string& index, std::size_t hash_size);

  bool is_empty() const { return _begins.empty(); }

  // `path`: from the top of the working tree, without "/" at the end.
  bool has_file(std::string_view path) const;
  // Whether git tracks a file below the folder, or the folder itself (a submodule).
  bool has_folder(std::string_view path) const;

 private:
  std::string_view path(std::size_t number) const;
  std::size_t first_from(std::string_view path) const;
  void add(std::string_view path);

  std::string _paths;                // sorted, each with a NUL at its end
  std::vector<std::size_t> _begins;  // of each path in _paths
};

}  // namespace walk
