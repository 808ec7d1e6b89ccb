// The tokens of a grammar, as the material for hostile inputs.
//
// Random bytes almost never get past a grammar's first tokens. Its own keywords, operators and
// brackets, repeated and nested, find in minutes what random bytes do not find in days.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace engines::treesitter::fuzz {

// The keywords, operators and brackets of the language's grammar, each once, in the order of their
// bytes. `language` must be one of the sixteen.
std::vector<std::string> grammar_tokens(std::string_view language);

// Texts that begin or continue something in most grammars. Some of them no grammar lists, because
// scanners or expressions read them: names, numbers, comments, quotes, markup. The most common ones
// come first.
const std::vector<std::string>& common_openers();
inline constexpr std::size_t COMMONEST_OPENERS = 6;

// The text before all tokens without which a grammar reads no code: PHP's opening tag. Empty for
// the others.
std::string_view preamble(std::string_view language);

}  // namespace engines::treesitter::fuzz
