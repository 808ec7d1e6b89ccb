// Functions that replace the core's own of the same names in its lexer.c (cmake/Grammars.cmake).
// They do the same in less time.
//
// Tested by the golden cases, and by the counts that bench/run compares over a corpus.
#pragma once

static void published_ts_lexer__advance(TSLexer* lexer, bool skip);
static void published_ts_lexer__mark_end(TSLexer* lexer);

// Moves on by one character, which lexers and scanners do for each character of the file. This
// handles a step from one ASCII character to the next within a line, where none of the core's
// special cases can occur. The core's own function does the rest.
static void ts_lexer__advance(TSLexer* lexer, bool skip) {
  Lexer* const self = (Lexer*)lexer;
  const uint32_t next = self->current_position.bytes + 1;
  const uint32_t in_chunk = next - self->chunk_start;
  const bool is_plain = self->lookahead_size == 1 && self->data.lookahead != '\n' &&
                        self->current_included_range_index < self->included_range_count &&
                        next < self->included_ranges[self->current_included_range_index].end_byte &&
                        in_chunk < self->chunk_size && !self->logger.log;
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
