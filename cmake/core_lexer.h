// Compiled into the core's lexer.c, by cmake/Grammars.cmake, in the place of the core's own
// functions of the same names. They do the same.
//
// Tested by tests/core_test.py.
#pragma once

static void published_ts_lexer__advance(TSLexer* lexer, bool skip);
static void published_ts_lexer__mark_end(TSLexer* lexer);

// Moves on by one character, as the lexers of all grammars and scanners do for each one. From one
// ASCII character of a line to the next, nothing can happen of what the core's own function is
// prepared for; it does the rest.
static void ts_lexer__advance(TSLexer* lexer, bool skip) {
  Lexer* const self = (Lexer*)lexer;
  const uint32_t next = self->current_position.bytes + 1;
  const uint32_t in_chunk = next - self->chunk_start;
  const bool is_plain = self->lookahead_size == 1 && self->data.lookahead != '\n' &&
                        self->current_included_range_index < self->included_range_count &&
                        next < self->included_ranges[self->current_included_range_index].end_byte &&
                        in_chunk < self->chunk_size;
  if (!is_plain || (signed char)self->chunk[in_chunk] < 0) {
    published_ts_lexer__advance(lexer, skip);
    return;
  }
  ts_lexer__increment_column_data(self);
  const TSPoint point = {self->current_position.extent.row,
                         self->current_position.extent.column + 1};
  self->current_position.bytes = next;
  self->current_position.extent.column = point.column;
  if (skip) self->token_start_position = (Length){next, point};
  self->data.lookahead = self->chunk[in_chunk];
}

// Ends the token at the current position, field by field: a copy as a whole would wait for the
// column, which has just been written by itself.
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
