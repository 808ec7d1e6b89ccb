// Shared by the tables of the navigation rules: how a row names its languages, node types and
// fields, and how these are translated into a grammar's numbers.
//
// A row is written in texts, as the grammars have them. The rows of a language are translated once.
// A walk then finds the rows of a node by its symbol, in one load.
//
// Tested by tests/navigation_test.cpp.
#pragma once

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdint>
#include <memory>
#include <string_view>
#include <vector>

#include "engines/languages/language.h"
#include "engines/languages/languages.h"
#include "engines/treesitter/text/text.h"

namespace engines::treesitter {

// A set of languages, one bit each.
enum class In : std::uint16_t {
  python = 1 << 0,
  javascript = 1 << 1,
  typescript = 1 << 2,
  tsx = 1 << 3,
  java = 1 << 4,
  go = 1 << 5,
  rust = 1 << 6,
  csharp = 1 << 7,
  ruby = 1 << 8,
  php = 1 << 9,
  sql = 1 << 10,
  typed_script = typescript | tsx,
  script = javascript | typed_script,
};

constexpr In operator|(In a, In b) {
  return static_cast<In>(static_cast<unsigned>(a) | static_cast<unsigned>(b));
}

struct InRow {
  std::string_view language;
  In bit;
};
inline constexpr auto IN_ROWS = std::to_array<InRow>({
    {"python", In::python},
    {"javascript", In::javascript},
    {"typescript", In::typescript},
    {"tsx", In::tsx},
    {"java", In::java},
    {"go", In::go},
    {"rust", In::rust},
    {"csharp", In::csharp},
    {"ruby", In::ruby},
    {"php", In::php},
    {"sql", In::sql},
});

// Whether the language has navigation rules. The languages of data have the standard rules only.
constexpr bool is_navigated(std::string_view language) {
  return std::any_of(IN_ROWS.begin(), IN_ROWS.end(),
                     [&](const InRow& row) { return row.language == language; });
}

// Whether the set contains the language.
constexpr bool speaks_of(In languages, std::string_view language) {
  return std::any_of(IN_ROWS.begin(), IN_ROWS.end(), [&](const InRow& row) {
    return row.language == language &&
           (static_cast<unsigned>(row.bit) & static_cast<unsigned>(languages)) != 0;
  });
}

// A small set of symbols.
class SymbolSet {
 public:
  SymbolSet() = default;
  // `types` are the texts of node types, separated by spaces.
  SymbolSet(const languages::Language& language, std::string_view types) {
    for (const std::string_view type : split_whitespace(types)) {
      for (const std::uint16_t symbol : language.symbols_of(type)) _symbols.push_back(symbol);
    }
  }

  bool contains(std::uint16_t symbol) const {
    return std::find(_symbols.begin(), _symbols.end(), symbol) != _symbols.end();
  }
  bool empty() const { return _symbols.empty(); }
  auto begin() const { return _symbols.begin(); }
  auto end() const { return _symbols.end(); }

 private:
  std::vector<std::uint16_t> _symbols;
};

// A table of values by symbol. ERROR, which is outside the grammar's own symbols, has one too.
template <typename Value>
class BySymbol {
 public:
  explicit BySymbol(const languages::Language& language) : _values(language.symbol_count()) {}

  const Value& operator[](std::uint16_t symbol) const {
    return symbol < _values.size() ? _values[symbol] : _outside;
  }
  Value& at(std::uint16_t symbol) { return symbol < _values.size() ? _values[symbol] : _outside; }

 private:
  std::vector<Value> _values;
  Value _outside{};
};

// The `Table` of a language, which its constructor makes of the Language. Made at the first call
// and never destroyed. Several threads may make one at once; the first to finish stores its own,
// and none waits. The language must be one of IN_ROWS.
template <typename Table>
const Table& table_of(const languages::Language& language) {
  static constinit std::array<std::atomic<const Table*>, IN_ROWS.size()> tables{};
  const auto row = std::find_if(IN_ROWS.begin(), IN_ROWS.end(), [&](const InRow& each) {
    return each.language == language.name();
  });
  std::atomic<const Table*>& place = tables[static_cast<std::size_t>(row - IN_ROWS.begin())];
  const Table* known = place.load(std::memory_order_acquire);
  if (known != nullptr) return *known;
  auto mine = std::make_unique<const Table>(language);
  const bool is_first = place.compare_exchange_strong(known, mine.get(), std::memory_order_acq_rel,
                                                      std::memory_order_acquire);
  return is_first ? *mine.release() : *known;
}

}  // namespace engines::treesitter
