// Which declarations a file hides by words that stand beside them, such as Ruby's `private`: behind
// a bare one, as its arguments, or named by those.
//
// One loop over the file's nodes. A question costs a few steps up and a search by bisection.
//
// Tested by tests/navigation_test.cpp.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <tuple>
#include <unordered_map>
#include <utility>
#include <vector>

#include "engines/treesitter/core/node.h"

namespace engines::treesitter {

class HidingWords {
 public:
  HidingWords() = default;
  explicit HidingWords(const Node& root);

  // Whether the declaration `node` of this name is hidden.
  bool hide(const Node& node, std::string_view name) const;

 private:
  struct Rules;
  struct Word;
  void read_arguments(const Rules& rules, const Word& word, const Node& body, const Node& call);

  // A body is known by its node's index. What is said again later holds.
  using Change = std::pair<std::uint32_t, bool>;  // the node behind which it holds
  std::unordered_map<std::uint32_t, std::vector<Change>> _changes;  // by body
  std::unordered_map<std::uint32_t, bool> _arguments;               // by node
  std::map<std::tuple<std::uint32_t, std::uint8_t, std::string>, bool, std::less<>> _names;
};

}  // namespace engines::treesitter
