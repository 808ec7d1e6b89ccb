// Which declarations a file hides by words that stand beside them, such as Ruby's `private`: behind
// a bare one, as its arguments, or named by those.
//
// One loop over the file's nodes, for languages that have such words. A question costs a few steps
// up and searches by bisection.
//
// Tested by the navigation cases in tests/golden.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <tuple>
#include <unordered_map>
#include <utility>
#include <vector>

#include "engines/treesitter/parsing/node.h"

namespace engines::treesitter {

class HidingWords {
 public:
  explicit HidingWords(const Node& root);

  // Whether the declaration `node` of this name is hidden.
  bool hide(const Node& node, std::string_view name) const;

 private:
  struct Rules;
  struct Meaning;
  void read_arguments(const Rules& rules, const Node& body, const Node& call,
                      const Meaning& meaning);

  // A node is known by its index, and what a word speaks of by a number. What is said later holds.
  using Subject = std::uint8_t;
  using Switch = std::pair<std::uint32_t, bool>;  // a bare word, and whether it hides
  std::map<std::pair<std::uint32_t, Subject>, std::vector<Switch>> _switches;  // by body
  std::map<std::tuple<std::uint32_t, Subject, std::string>, bool> _names;      // by body
  std::unordered_map<std::uint32_t, bool> _arguments;                          // by node
};

}  // namespace engines::treesitter
