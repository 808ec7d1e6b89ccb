#include "fuzz/grammar_tokens.h"

#include <tree_sitter/api.h>

#include <algorithm>

#include "engines/languages/language.h"

namespace engines::treesitter::fuzz {

std::vector<std::string> grammar_tokens(std::string_view language) {
  const TSLanguage* const grammar = languages::get_language(language)->grammar();
  std::vector<std::string> tokens;
  for (std::uint32_t i = 1; i < ts_language_symbol_count(grammar); ++i) {  // 0 is the end of file
    const auto symbol = static_cast<TSSymbol>(i);
    if (ts_language_symbol_type(grammar, symbol) != TSSymbolTypeAnonymous) continue;
    tokens.emplace_back(ts_language_symbol_name(grammar, symbol));
  }
  std::sort(tokens.begin(), tokens.end());
  tokens.erase(std::unique(tokens.begin(), tokens.end()), tokens.end());
  std::erase(tokens, std::string());
  return tokens;
}

const std::vector<std::string>& common_openers() {
  static const std::vector<std::string> openers = {
      "(", "<", " ", "a", "\"", "/*", "\n", "\n ",  "1",   "'",  "`",    "[",
      "{", ")", "]", "}", ">",  "#",  "//", "<!--", "<a ", ":",  ".",    ",",
      ";", "=", "-", "&", "a:", "- ", "${", "#{",   "\\",  "$$", "\r\n", "<<A\n",
  };
  return openers;
}

std::string_view preamble(std::string_view language) { return language == "php" ? "<?php " : ""; }

}  // namespace engines::treesitter::fuzz
