// See wide_grammar.h.
#include "engines/languages/wide_grammar.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <new>

extern "C" {
#include <lib/src/parser.h>
}

namespace engines::languages {
namespace {

// A grammar generated for an older version of the library ends before the fields that came later.
std::size_t size_of(const TSLanguage& grammar) {
  return grammar.abi_version < 15 ? offsetof(TSLanguage, name) : sizeof(TSLanguage);
}

// Fills a state's row from its list. The list is the number of its groups, then for each group the
// value of its symbols in the table, how many there are, and the symbols.
void fill(std::uint16_t* row, const std::uint16_t* list) {
  for (std::uint16_t groups = *list++; groups > 0; --groups) {
    const std::uint16_t value = *list++;
    for (std::uint16_t symbols = *list++; symbols > 0; --symbols) row[*list++] = value;
  }
}

}  // namespace

// From calloc, since the system's fresh memory is zero already: clearing SQL's rows once more would
// cost as much as all the rest.
WideGrammar::WideGrammar(const TSLanguage& published)
    : _rows(static_cast<std::uint16_t*>(std::calloc(
          std::size_t{published.state_count} * published.symbol_count, sizeof(std::uint16_t)))),
      _grammar(std::make_unique<TSLanguage>()) {
  if (_rows == nullptr) throw std::bad_alloc();
  const std::size_t width = published.symbol_count;
  const std::size_t large = published.large_state_count;
  std::copy_n(published.parse_table, large * width, _rows.get());
  for (std::size_t state = large; state < published.state_count; ++state) {
    fill(&_rows[state * width],
         published.small_parse_table + published.small_parse_table_map[state - large]);
  }
  std::memcpy(_grammar.get(), &published, size_of(published));
  _grammar->parse_table = _rows.get();
  _grammar->large_state_count = published.state_count;
}

WideGrammar::~WideGrammar() = default;

}  // namespace engines::languages
