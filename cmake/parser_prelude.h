// Included by the compiler in front of each grammar's parser.c: faster ways to do what a generated
// lexer does for each character.
//
// It moves on by one character, and asks whether the file ends there, by calls through pointers;
// here it does so itself where the next character is ASCII, as nearly all are.
//
// It asks whether a character is in one of the grammar's sets, such as the letters of identifiers.
// A set is a sorted list of ranges, mostly Unicode's 700 of letters and digits, and the grammar's
// own search halves it ten times for each character. What source files are made of, ASCII, is in
// the first five ranges.
#pragma once

#include "lexer_step.h"
#include "tree_sitter/parser.h"

// As the grammars' own, but for the step.
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

// `lexer->eof(lexer)`: at the end of the file the next character is given as 0.
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
