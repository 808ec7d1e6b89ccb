// Which nodes declare something under the navigation rules, of which kind, and which nodes carry
// the names, by the rows of declaration_table.h. A node that declares nothing costs one load.
//
// Tested by tests/navigation_test.cpp and the navigation cases in tests/golden.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

#include "engines/treesitter/navigation/condition.h"
#include "engines/treesitter/navigation/holder.h"
#include "engines/treesitter/navigation/own_name.h"
#include "engines/treesitter/symbols/declaration_table.h"

namespace engines::treesitter {

// What kind of declaration is around a node.
enum class Around : std::uint8_t {
  file = 1,   // nothing, or modules
  type = 2,   // a class, an interface, an enum or another type
  value = 4,  // a function, a method, a variable or a constant
};

// What declarations within a symbol of this kind have around them.
Around around_within(std::string_view kind);

// One row of the table, translated for a language.
class Declaration {
 public:
  Declaration(const languages::Language& language, const DeclarationRow& row);

  // Empty for a scope that declares nothing.
  std::string_view kind() const { return _row->kind; }

  // Whether the row applies to the node, which is of one of its types.
  bool holds(const Node& node, Around around, const Holders& holders) const;

  // The nodes that carry the names, in source order.
  std::vector<Node> names(const Node& node, const OwnNames& own) const;
  // Whether the lines of each symbol are those of its name, and not those of the node.
  bool has_own_lines() const { return _row->name.starts_with('*'); }
  bool is_whole_name() const { return _row->terms.is_whole_name; }
  // Whether declarations within the node belong to this one; of several names, to the first.
  bool opens_scope() const { return _row->terms.opens_scope && !has_own_lines(); }
  bool stays_open() const { return _row->terms.stays_open; }
  bool is_qualified() const { return _row->terms.is_qualified; }
  bool is_beside() const { return _row->terms.is_beside; }

  // The node with the name of the type to which the declaration belongs, if it names one.
  std::optional<Node> owner(const Node& node, const OwnNames& own) const;

 private:
  std::vector<Node> names_in(const Node& list, const OwnNames& own) const;

  const DeclarationRow* _row;
  Path _name;
  Path _owner;
  SymbolSet _each;
  bool _takes_all;
  std::uint8_t _around = 0;
  Conditions _conditions;
  std::vector<std::string_view> _words;
};

// The rows of a language.
class Declarations {
 public:
  explicit Declarations(const languages::Language& language);

  // Whether any row is about nodes of this symbol.
  bool concern(std::uint16_t symbol) const { return _concerned[symbol] != 0; }

  // The first row that holds for the node, or null.
  const Declaration* of(const Node& node, Around around) const;

  const OwnNames& own_names() const { return _own_names; }
  const Holders& holders() const { return _holders; }

 private:
  OwnNames _own_names;
  Holders _holders;
  BySymbol<std::vector<Declaration>> _rows;
  BySymbol<std::uint8_t> _concerned;  // whether there are rows
};

}  // namespace engines::treesitter
