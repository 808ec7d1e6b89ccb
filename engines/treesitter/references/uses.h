// What a name refers to under the navigation rules, by the rows of use_table.h.
//
// A node that is no name costs one load. A name costs the way up to its whole; no two names share a
// step of these ways.
//
// Tested by tests/navigation_test.cpp and the navigation cases in tests/golden.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

#include "engines/treesitter/navigation/condition.h"
#include "engines/treesitter/navigation/own_name.h"
#include "engines/treesitter/references/use_table.h"

namespace engines::treesitter {

// The rows of a language, translated.
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

  // Why nodes of this symbol matter, as bits: they may open a region, refer to something as they
  // are written, or be a name.
  enum Concern : std::uint8_t { REGION = 1, WRITTEN = 2, NAME = 4 };
  std::uint8_t concern(std::uint16_t symbol) const { return _concerned[symbol]; }

  // The region that the node opens; empty if none.
  std::string_view region(const Node& node) const;

  // The row for the node as it is written, and the row for it as a name; null if there is none.
  const Row* of_written(const Node& node, std::string_view region) const;
  const Row* of_name(const Node& name, std::string_view region) const;

  // The name of the reference, ill-formed bytes replaced. The view points into the file or into
  // `storage`.
  std::string_view text(const Node& name, Reading reading, std::string& storage) const;

  bool is_builtin(std::string_view type) const { return _builtins.contains(type); }

 private:
  // The rows for names, or those for nodes as they are written.
  struct Rows {
    explicit Rows(const languages::Language& language) : by_above(language) {}
    BySymbol<std::vector<Row>> by_above;
    std::vector<Row> anywhere;
  };

  static const Row* first_that_holds(const Rows& rows, const Node& whole, const Node& name,
                                     std::string_view region);
  void put_groups_before(const Node& name, std::string& text) const;

  OwnNames _own_names;
  Rows _names;
  Rows _written;
  BySymbol<std::vector<Region>> _regions;
  BySymbol<std::string_view> _separators;  // of groups
  BySymbol<std::uint8_t> _concerned;       // bits of Concern
  std::unordered_set<std::string_view> _builtins;
};

}  // namespace engines::treesitter
