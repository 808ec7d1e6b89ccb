// What a name refers to under the navigation rules. What is looked for stands in use_table.h.
//
// The walk shows every node in document order. A node that is no name costs one load. A name costs
// the way up to its whole, and no two names share a step of it.
//
// Tested by tests/navigation_test.cpp.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

#include "engines/treesitter/core/condition.h"
#include "engines/treesitter/core/own_name.h"
#include "engines/treesitter/references/use_table.h"

namespace engines::treesitter {

// The rows of a language with their texts resolved.
class Uses {
 public:
  class Row {
   public:
    Row(const languages::Language& language, const UseRow& row);
    bool holds(const Node& whole, const Node& above, const Node& name,
               std::string_view region) const;
    const std::vector<std::string_view>& kinds() const { return _kinds; }
    Reading reading() const { return _row->terms.reading; }

   private:
    const UseRow* _row;
    Place _place;
    SymbolSet _names;
    Conditions _conditions;
    std::vector<std::string_view> _kinds;
  };

  struct Region {
    std::string_view name;
    Conditions conditions;
  };

  explicit Uses(const languages::Language& language);

  // Whether any row may speak of a node of this symbol, or a region begin there.
  bool concerns(std::uint16_t symbol) const { return _concerned[symbol] != 0; }

  // The region that the node opens, or empty.
  std::string_view region(const Node& node) const;

  // The row that says what the node refers to as a name, and the one that says what it does as it
  // is written; null for nothing.
  const Row* of_name(const Node& name, std::string_view region) const;
  const Row* of_whole(const Node& node, std::string_view region) const;

  // How a name reads in a reference, ill-formed bytes replaced. The view points into the file or
  // into `storage`.
  std::string_view text(const Node& name, Reading reading, std::string& storage) const;

  bool is_builtin(std::string_view type) const { return _builtins.contains(type); }

 private:
  void put_groups_before(const Node& name, std::string& text) const;
  const Row* row(const Node& whole, const Node& name, bool is_whole, std::string_view region) const;

  OwnNames _own_names;
  BySymbol<std::vector<Row>> _rows;  // by the node above
  std::vector<Row> _anywhere;
  BySymbol<std::vector<Region>> _regions;
  BySymbol<std::string_view> _separators;  // of groups
  BySymbol<std::uint8_t> _concerned;       // bits: a name, read as written, a region
  std::unordered_set<std::string_view> _builtins;
};

}  // namespace engines::treesitter
