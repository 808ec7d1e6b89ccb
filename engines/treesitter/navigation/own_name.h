// The name of a node under the navigation rules: which node below it carries the name, and the
// name's text.
//
// One table (own_name.cpp) says for each type of node in which child its name is: the name of the
// callee `a.b<T>` is `b`. A node without a row has no name. The rows are followed in two loops:
// down, from a declaration to its name; and up, from a name to the whole, which is the outermost
// node that has this name. Every node has its name in one child at most, so the ways up from all
// names of a file visit each node once.
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

// A place among a node's children: under a field, of a type, first or last; or the node itself.
struct Place {
  enum class Kind : std::uint8_t { nowhere, field, type, first, last, itself };
  Kind kind = Kind::nowhere;
  std::uint8_t field = 0;
  SymbolSet types = {};
  std::vector<SymbolSet> before = {};  // from right to left

  Place() = default;
  // `text` is the name of a field, or the types of nodes separated by spaces; "<" is the first and
  // ">" the last named child that is no comment; "." is the node itself. "'X" is the type X where
  // the grammar also has a field of that name. "A+X" is an X directly behind an A, and "A+B+X" one
  // directly behind a B that is directly behind an A.
  Place(const languages::Language& language, std::string_view text);

  // The node at this place in `node`, or none.
  std::optional<Node> in(const Node& node) const;
  // Whether `child` is at this place in its parent. Costs a few steps, however many children there
  // are.
  bool holds(const Node& child) const;
};

// Places separated by "/", each within the one before: "arguments/<" is the first child of the node
// under the field `arguments`.
class Path {
 public:
  Path() = default;
  Path(const languages::Language& language, std::string_view text);

  // The node at the end of the path, or none; none also for the empty path.
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

  // The last node on the way down from `node`, which may be `node` itself.
  Node end(Node node) const;

  // The same node if it carries a name, else none.
  std::optional<Node> carrier(const Node& node) const;

  // The name that a carrier carries: its text without marks, ill-formed bytes replaced.
  static std::string text(const Node& carrier);

  // The outermost node that has the name of `carrier`, which may be `carrier` itself.
  Node whole(Node carrier) const;

  // Whether nodes of this symbol carry a name.
  bool is_carrier(std::uint16_t symbol) const {
    return _places[symbol].kind == Place::Kind::itself;
  }

 private:
  BySymbol<Place> _places;
};

// A name without a leading colon (of Ruby's symbols) and without quotes around it.
std::string_view without_marks(std::string_view text);

// The dotted form of a qualified name: `A::B`, `A\B` and `A.B` all give "A.B".
std::string dotted(std::string_view text);

}  // namespace engines::treesitter
