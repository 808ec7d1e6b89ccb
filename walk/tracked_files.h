// What git tracks in a working tree, by its index: files that count although a pattern names them.
//
// Cost: the index is read once, some 90 bytes for each tracked file, of which the path stays. A
// question takes a binary search.
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
  // Nothing is tracked.
  TrackedFiles() = default;

  // Takes an index of version 2, 3 or 4 apart. `hash_size`: the bytes of an object's name, 20 or
  // 32. Gives an errno, 0 for success: EBADMSG for what is no such index. Of a split index only
  // the part in this file counts.
  int read(const std::string& index, std::size_t hash_size);

  bool is_empty() const { return _begins.empty(); }

  // Paths from the top of the working tree, without "/" at the end.
  bool has_file(std::string_view path) const;
  // Whether a file below the folder is tracked, or the folder itself, as that of a submodule.
  bool has_folder(std::string_view path) const;

 private:
  std::string_view path(std::size_t number) const;
  std::size_t first_from(std::string_view path) const;
  void add(std::string_view path);

  std::string _paths;  // rising, each with a NUL at its end
  std::vector<std::size_t> _begins;
};

}  // namespace walk
