// ExportList: the names that a file lists as visible outside it, such as `export { f }`.
//
// Found in one loop over the file's nodes, which costs one load for each node, and the names in
// lists.
//
// Tested by the navigation cases in tests/golden.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <unordered_set>

#include "engines/treesitter/parsing/node.h"
#include "engines/treesitter/text/hash.h"

namespace engines::treesitter {

class ExportList {
 public:
  explicit ExportList(const Node& root);

  // Whether the file has a list, which may be empty.
  bool is_there() const { return _is_there; }
  bool contains(std::string_view name) const { return _names.contains(std::string(name)); }

 private:
  struct Hash {
    std::size_t operator()(const std::string& text) const { return hash_of(text); }
  };

  bool _is_there = false;
  std::unordered_set<std::string, Hash> _names;
};

}  // namespace engines::treesitter
