// Included by the compiler in front of each grammar's parser.c: a faster way to ask whether a
// character is in one of the grammar's sets, such as the letters of identifiers.
//
// A set is a sorted list of ranges, mostly Unicode's 700 of letters and digits, and the grammar's
// own search halves it ten times for each character. What source files are made of, ASCII, is in
// the first five ranges.
#pragma once

#include "tree_sitter/parser.h"

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
