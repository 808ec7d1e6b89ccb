// Words of names and of questions, as the index's tables of words hold them.
//
// Cost: linear in the text.
//
// Tested by tests/index_test.cpp and tests/questions_test.py.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace repository {

// Splits a name by spaces: one in front of each new word or number, and one for each sign.
// "parseHTTPHeader_2" becomes "parse HTTP Header  2".
std::string words_of(std::string_view name);

// The words of a text: ASCII letters, digits, and whatever lies outside ASCII. FTS5's tokenizer,
// which fills the tables, also splits at some characters outside ASCII.
std::vector<std::string> words_in(std::string_view text);

// The text with ASCII letters in lower case, as SQLite's NOCASE compares them.
std::string folded(std::string_view text);

// An FTS5 expression for rows that hold all of these texts, which may have any characters.
// `behind_each`: an operator such as " *", by which each text only has to begin a word.
std::string all_of(const std::vector<std::string>& texts, std::string_view behind_each = {});

}  // namespace repository
