// The holder of a declaration: the outermost node around it that belongs to it alone, such as
// `export default`, a decorated definition, or a statement with one declarator. Modifiers,
// decorators and the comment above a declaration are the holder's.
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

  // The part of the holder that a comment above it documents for this declaration: of several
  // declarators in one statement the first has the statement, the others are their own.
  Node documented(const Node& declaration) const;

  // Whether the word, such as "static", stands among the modifiers of a holder.
  bool has_modifier(const Node& holder, std::string_view word) const;

 private:
  Node climb(Node node, bool stays_alone) const;

  BySymbol<std::uint8_t> _is_holder;
  BySymbol<std::uint8_t> _modifiers;
};

}  // namespace engines::treesitter
