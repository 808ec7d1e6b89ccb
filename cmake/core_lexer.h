// Functions that replace the core's own of the same names in its lexer.c (cmake/Grammars.cmake).
// They do the same in less time.
//
// Tested by tests/core_test.py.
#pragma once

#include <stddef.h>

#include "lexer_step.h"

static void published_ts_lexer__advance(TSLexer* lexer, bool skip);
static void published_ts_lexer__mark_end(TSLexer* lexer);

#define SAME_PLACE(field, core_field)                                                    \
  _Static_assert(                                                                        \
      offsetof(TreesitterEngineLexer, field) == offsetof(Lexer, core_field) &&           \
          sizeof(((TreesitterEngineLexer*)0)->field) == sizeof(((Lexer*)0)->core_field), \
      "cmake/lexer_step.h describes " #core_field " of another version of the core")
SAME_PLACE(lookahead, data.lookahead);
SAME_PLACE(current_position.bytes, current_position.bytes);
SAME_PLACE(current_position.row, current_position.extent.row);
SAME_PLACE(current_position.column, current_position.extent.column);
SAME_PLACE(token_start_position, token_start_position);
SAME_PLACE(included_ranges, included_ranges);
SAME_PLACE(chunk, chunk);
SAME_PLACE(included_range_count, included_range_count);
SAME_PLACE(current_included_range_index, current_included_range_index);
SAME_PLACE(chunk_start, chunk_start);
SAME_PLACE(chunk_size, chunk_size);
SAME_PLACE(lookahead_size, lookahead_size);
SAME_PLACE(column, column_data.value);
SAME_PLACE(is_column_known, column_data.valid);
#undef SAME_PLACE
_Static_assert(sizeof(TreesitterEngineRange) == sizeof(TSRange) &&
                   offsetof(TreesitterEngineRange, end_byte) == offsetof(TSRange, end_byte),
               "cmake/lexer_step.h describes the ranges of another version of the core");

static void ts_lexer__advance(TSLexer* lexer, bool skip) {
  if (treesitter_engine_step((TreesitterEngineLexer*)lexer, skip)) return;
  published_ts_lexer__advance(lexer, skip);
}

// Ends the token at the current position. The fields are copied one by one: the processor would
// delay a copy of the whole until the store of the column, which was just written, is done.
static void ts_lexer__mark_end(TSLexer* lexer) {
  Lexer* const self = (Lexer*)lexer;
  if (self->current_included_range_index > 0) {
    published_ts_lexer__mark_end(lexer);
    return;
  }
  const volatile Length* const position = &self->current_position;
  self->token_end_position.bytes = position->bytes;
  self->token_end_position.extent.row = position->extent.row;
  self->token_end_position.extent.column = position->extent.column;
}
