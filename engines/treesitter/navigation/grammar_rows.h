// What the tables of the navigation rules share: how a row says which languages, node types and
// fields it speaks of, and how that is turned into a grammar's own numbers.
//
// A row is written in texts, as the grammars have them. Each language resolves the rows that speak
// of it once; from then on a walk finds the rows of a node by its symbol, in one load.
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
inline constexpr std::array<InRow, 11> IN_ROWS = {{
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
}};

// Whether the navigation rules say anything of the language; those of data are the same under all.
constexpr bool is_navigated(std::string_view language) {
  return std::any_of(IN_ROWS.begin(), IN_ROWS.end(),
                     [&](const InRow& row) { return row.language == language; });
}

constexpr bool speaks_of(In languages, std::string_view language) {
  return std::any_of(IN_ROWS.begin(), IN_ROWS.end(), [&](const InRow& row) {
    return row.language == language &&
           (static_cast<unsigned>(row.bit) & static_cast<unsigned>(languages)) != 0;
  });
}

// The symbols of some node types, few of them.
class SymbolSet {
 public:
  SymbolSet() = default;
  // `types`: texts of node types with spaces between them.
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

// Values by a node's symbol, for all nodes of a grammar. ERROR has the one outside its own.
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

// One `Table`, made of a Language, for each language that was asked for; made at the first question
// and left to the process. Threads may make one at once; the first to be done is taken, and nobody
// waits.
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
