// The conditions of a row of the navigation tables, beside the type of the node:
//
//   FIELD: TYPES   the child under the field is of one of these types
//   FIELD= TEXTS   its text is one of these
//   FIELD~ upper   its text has ASCII letters, all of them in upper case
//   FIELD~ name    its text has only letters, digits, underscores and full stops
//   FIELD          there is such a child
//
// "!" in front negates a condition. FIELD may be any path of places (own_name.h). "^" in front of
// it asks the parent of the node, "^^" the parent's parent, and so on; "^" alone is the parent
// itself. Several conditions are separated by ";", and all must hold.
//
// A condition reads the node's children up to the one it looks for.
//
// Tested by tests/navigation_test.cpp and the navigation cases in tests/golden.
#pragma once

#include <string_view>
#include <vector>

#include "engines/treesitter/navigation/own_name.h"

namespace engines::treesitter {

class Conditions {
 public:
  Conditions(const languages::Language& language, std::string_view text);

  bool hold(const Node& node) const { return _conditions.empty() || all_hold(node); }

 private:
  bool all_hold(const Node& node) const;

  struct Condition {
    Condition(const languages::Language& language, std::string_view text);
    bool holds(const Node& node) const;

    int levels_up = 0;
    bool is_absence = false;
    bool asks_type = false;
    bool (*shape)(std::string_view text) = nullptr;
    Path path;
    SymbolSet types;
    std::vector<std::string_view> texts;
  };

  std::vector<Condition> _conditions;
};

}  // namespace engines::treesitter
