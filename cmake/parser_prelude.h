// Included by the compiler before each grammar's parser.c: faster ways to do what a generated lexer
// does for each character.
//
// - It moves on by one character, and asks whether the file ends, by calls through pointers. Nearly
//   all characters are ASCII, and for these the step is inlined (cmake/lexer_step.h).
// - It asks whether a character is in one of the grammar's sets, such as the letters of
//   identifiers. A set is a sorted list of ranges, often Unicode's 700 of letters and digits, and
//   the grammar's own search takes ten steps for each character. ASCII is in the first five ranges.
//
// Tested by tests/core_test.py.
#pragma once

#include "lexer_step.h"
#include "tree_sitter/parser.h"

// The same as tree_sitter/parser.h has, except for the step.
#undef START_LEXER
#define START_LEXER()                                                 \
  bool result = false;                                                \
  bool skip = false;                                                  \
  bool eof = false;                                                   \
  int32_t lookahead;                                                  \
  (void)eof;                                                          \
  goto start;                                                         \
  next_state:                                                         \
  if (!treesitter_engine_step((TreesitterEngineLexer*)lexer, skip)) { \
    lexer->advance(lexer, skip);                                      \
  }                                                                   \
  start:                                                              \
  skip = false;                                                       \
  lookahead = lexer->lookahead;

// Turns `lexer->eof(lexer)` into a comparison and a call: at the end of the file the next character
// is 0.
#define eof(lexer) lookahead == 0 && (lexer)->eof(lexer)

static inline bool treesitter_engine_set_contains(const TSCharacterRange* ranges, uint32_t count,
                                                  int32_t character) {
  if (character >= 128) return set_contains(ranges, count, character);
  for (uint32_t i = 0; i < count && ranges[i].start <= character; ++i) {
    if (character <= ranges[i].end) return true;
  }
  return false;
}
#define set_contains(ranges, count, character) \
  treesitter_engine_set_contains(ranges, count, character)
