// The holder of a declaration: the outermost node around it that is part of the same statement,
// such as `export default` or a decorated definition. Modifiers, decorators and the comment above
// belong to the holder.
//
// Tested by tests/navigation_test.cpp and the navigation cases in tests/golden.
#pragma once

#include <string_view>

#include "engines/treesitter/navigation/grammar_rows.h"
#include "engines/treesitter/parsing/node.h"

namespace engines::treesitter {

class Holders {
 public:
  explicit Holders(const languages::Language& language);

  Node of(const Node& declaration) const;

  // The node whose comment above documents this declaration. Of several declarators in one
  // statement this is the holder for the first, and the declarator itself for the others.
  Node documented(const Node& declaration) const;

  // Whether the word, such as "static", is among the modifiers of a holder.
  bool has_modifier(const Node& holder, std::string_view word) const;

 private:
  Node climb(Node node, bool stays_alone) const;

  BySymbol<std::uint8_t> _is_holder;
  BySymbol<std::uint8_t> _modifiers;
};

}  // namespace engines::treesitter
