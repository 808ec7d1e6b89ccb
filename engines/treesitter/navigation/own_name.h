// The name that a node carries under the navigation rules: where it stands, however deep, and how
// it reads.
//
// One table (own_name.cpp) says for each node type that is no name itself under which of its fields
// its own name stands: of a call's `a.b<T>` that is `b`, of a declarator `*f(int)` it is `f`. A
// node that has children and no row carries no name. Both ways along the rows are loops: down, from
// a declaration to its name; and up, from a name to the whole that it names. Every node has its
// name in one child at most, so that the ways up from all names of a file together cost its nodes
// once.
//
// Tested by tests/navigation_test.cpp and the navigation cases in tests/golden.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "engines/treesitter/navigation/grammar_rows.h"
#include "engines/treesitter/parsing/node.h"

namespace engines::treesitter {

// Where among a node's children something stands: under a field, by its type, or at a place.
struct Place {
  enum class Kind : std::uint8_t { nowhere, field, type, first, last, itself };
  Kind kind = Kind::nowhere;
  std::uint8_t field = 0;
  SymbolSet types = {};
  std::vector<SymbolSet> before = {};  // from right to left

  Place() = default;
  // `text`: a field's name, a node's type or several with spaces between them, "<" for the first
  // named child that is no comment, ">" for the last named child, "." for the node itself. "'X" is
  // the type X where the grammar has a field of that name too. "A+X" is an X directly behind an A,
  // and "A+B+X" one behind a B that is behind an A.
  Place(const languages::Language& language, std::string_view text);

  std::optional<Node> in(const Node& node) const;
  // Whether `child` stands there. Costs a step or two, however many children there are.
  bool holds(const Node& child) const;
};

// Places one within the other, with "/" between them: "arguments/<" is what stands first in what
// stands under `arguments`.
class Path {
 public:
  Path() = default;
  Path(const languages::Language& language, std::string_view text);

  // None when the node has nothing there, or the path is empty.
  std::optional<Node> in(const Node& node) const;
  bool is_empty() const { return _places.empty(); }
  // The last place of a path that is not empty.
  const Place& last() const { return _places.back(); }

 private:
  std::vector<Place> _places;
};

class OwnNames {
 public:
  explicit OwnNames(const languages::Language& language);

  // The node at the end of the way down from `node`, which may be itself.
  Node end(Node node) const;

  // That node when it carries a name, or none.
  std::optional<Node> carrier(const Node& node) const;

  // How a carrier reads, ill-formed bytes replaced: without a symbol's colon or a text's quotes.
  static std::string text(const Node& carrier);

  // The outermost node that `carrier` names, which may be itself.
  Node whole(Node carrier) const;

  // Whether a node of this symbol may be at the end of the way: it is a name, or is read whole.
  bool is_carrier(std::uint16_t symbol) const {
    return _places[symbol].kind == Place::Kind::itself;
  }

 private:
  BySymbol<Place> _places;
};

// A name without what marks it in the code: the colon of a symbol, or quotes.
std::string_view without_marks(std::string_view text);

// A dotted form of a qualified name: `A::B`, `A\B` and `A.B` all give "A.B".
std::string dotted(std::string_view text);

}  // namespace engines::treesitter
