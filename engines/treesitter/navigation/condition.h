// What a row of the navigation tables asks of a node beside its type.
//
//   FIELD: TYPES   the child under the field is of one of these types
//   FIELD= TEXTS   it reads as one of these texts
//   FIELD~ upper   it has letters, and all of them in upper case
//   FIELD~ name    it has letters, digits, underscores and full stops alone
//   FIELD          there is one
//
// "!" in front says that it does not hold.
// A field may be any path of places (own_name.h). "^" in front of it asks the parent, "^^" the
// parent's parent; "^" alone is the parent itself. Several conditions stand with ";" between them
// and must all hold.
//
// A question costs the node's children up to the one that is looked for.
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
