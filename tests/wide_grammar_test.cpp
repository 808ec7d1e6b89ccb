// WideGrammar: its lookup table holds what the library finds in the published grammar.
#include "engines/languages/wide_grammar.h"

#include <gtest/gtest.h>

#include "tests/support/sanitizers.h"

extern "C" {
#include <lib/src/language.h>

const TSLanguage* tree_sitter_json();
const TSLanguage* tree_sitter_python();
const TSLanguage* tree_sitter_sql();
}

namespace engines::languages {
namespace {

// JSON is the smallest grammar, SQL has the most lists, Python has the newer form of a grammar.
TEST(WideGrammarTest, LooksUpWhatTheLibraryFinds) {
  const unsigned step = treesitter::IS_SANITIZED ? 17 : 1;
  for (const TSLanguage* const published :
       {tree_sitter_json(), tree_sitter_python(), tree_sitter_sql()}) {
    const WideGrammar wide(*published);
    ASSERT_EQ(wide.grammar()->large_state_count, published->state_count);
    for (unsigned state = 0; state < published->state_count; state += step) {
      for (unsigned symbol = 0; symbol < published->symbol_count; ++symbol) {
        const auto at = static_cast<TSStateId>(state);
        const auto of = static_cast<TSSymbol>(symbol);
        ASSERT_EQ(ts_language_lookup(wide.grammar(), at, of), ts_language_lookup(published, at, of))
            << state << ' ' << symbol;
      }
    }
  }
}

}  // namespace
}  // namespace engines::languages
