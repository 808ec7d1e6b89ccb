// The texts that a grammar is made of: what to feed to it to meet its worst.
//
// Plain bytes almost never make it past a grammar's first tokens; its own keywords, operators and
// brackets, repeated and nested, find in minutes what random bytes don't find in days.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace engines::treesitter::fuzz {

// The keywords, operators and brackets of the language's grammar, each once, in the order of their
// bytes. `language` must be one of the sixteen.
std::vector<std::string> grammar_tokens(std::string_view language);

// What begins or continues something in most grammars, among it what no grammar lists because a
// scanner or an expression reads it: names, numbers, comments, quotes, markup. The commonest first.
const std::vector<std::string>& common_openers();
inline constexpr std::size_t COMMONEST_OPENERS = 6;

// What must stand before a token so that the grammar reads code at all: PHP's opening tag,
// otherwise nothing.
std::string_view preamble(std::string_view language);

}  // namespace engines::treesitter::fuzz
