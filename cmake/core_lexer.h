// Compiled into the core's lexer.c, by cmake/Grammars.cmake, in the place of the core's own
// function of the same name.
#pragma once

static void published_ts_lexer__advance(TSLexer* lexer, bool skip);

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
                        in_chunk < self->chunk_size && !self->logger.log;
  if (!is_plain || (signed char)self->chunk[in_chunk] < 0) {
    published_ts_lexer__advance(lexer, skip);
    return;
  }
  ts_lexer__increment_column_data(self);
  self->current_position.bytes = next;
  self->current_position.extent.column++;
  if (skip) self->token_start_position = self->current_position;
  self->data.lookahead = self->chunk[in_chunk];
}
