// HidingWords: which declarations a file hides by words beside them, such as Ruby's `private`. A
// word without arguments hides what follows in its body; a word with arguments hides its arguments,
// or the declarations that they name.
//
// Found in one loop over the file's nodes, for languages that have such words. A look-up costs a
// few steps up and bisections.
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

  // Nodes are indexes; a Subject is a row of the table of words, from 1. The last word about a
  // declaration holds.
  using Subject = std::uint8_t;
  using Switch = std::pair<std::uint32_t, bool>;  // a word without arguments, and whether it hides
  std::map<std::pair<std::uint32_t, Subject>, std::vector<Switch>> _switches;  // by body
  std::map<std::tuple<std::uint32_t, Subject, std::string>, bool> _names;      // by body
  std::unordered_map<std::uint32_t, bool> _arguments;                          // by node
};

}  // namespace engines::treesitter
