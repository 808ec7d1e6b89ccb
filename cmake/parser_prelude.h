// Included by the compiler before each grammar's parser.c: a faster test whether a character is in
// one of the grammar's sets, such as the letters of identifiers.
//
// A set is a sorted list of ranges, often Unicode's 700 of letters and digits, and the grammar's
// own search takes ten steps for each character. Nearly all characters of source files are ASCII,
// which is in the first five ranges.
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
