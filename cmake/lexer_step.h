// The lexer's step from one ASCII character to the next, for the core and for the generated lexers
// of the grammars, which take it for each character of a file.
//
// A grammar's code sees only the first fields of the core's lexer and uses the rest by calls
// through pointers. To inline the step there, the fields that it needs are declared here once more.
// cmake/core_lexer.h compares them with the core's own declaration when the core is compiled.
//
// Tested by tests/core_test.py.
#pragma once

#include <stdbool.h>
#include <stdint.h>

typedef struct {
  uint32_t bytes;
  uint32_t row;
  uint32_t column;
} TreesitterEnginePosition;

typedef struct {
  uint32_t points[4];
  uint32_t start_byte;
  uint32_t end_byte;
} TreesitterEngineRange;

// The core's Lexer, up to the last field that the step uses.
typedef struct __attribute__((may_alias)) {
  int32_t lookahead;
  uint16_t result_symbol;
  void (*calls[6])(void);
  TreesitterEnginePosition current_position;
  TreesitterEnginePosition token_start_position;
  TreesitterEnginePosition token_end_position;
  const TreesitterEngineRange* included_ranges;
  const char* chunk;
  void* input[4];
  void* logger[2];
  uint32_t included_range_count;
  uint32_t current_included_range_index;
  uint32_t chunk_start;
  uint32_t chunk_size;
  uint32_t lookahead_size;
  bool did_get_column;
  uint32_t column;
  bool is_column_known;
} TreesitterEngineLexer;

// Moves on by one character and returns true when this character and the next are ASCII and in one
// line, where none of the core's special cases can occur. Otherwise changes nothing.
__attribute__((always_inline)) static inline bool treesitter_engine_step(
    TreesitterEngineLexer* self, bool skip) {
  const uint32_t next = self->current_position.bytes + 1;
  const uint32_t in_chunk = next - self->chunk_start;
  const bool is_plain = self->lookahead_size == 1 && self->lookahead != '\n' &&
                        self->current_included_range_index < self->included_range_count &&
                        next < self->included_ranges[self->current_included_range_index].end_byte &&
                        in_chunk < self->chunk_size;
  if (!is_plain || (signed char)self->chunk[in_chunk] < 0) return false;
  if (self->is_column_known) ++self->column;
  const uint32_t column = self->current_position.column + 1;
  self->current_position.bytes = next;
  self->current_position.column = column;
  if (skip) {
    self->token_start_position.bytes = next;
    self->token_start_position.row = self->current_position.row;
    self->token_start_position.column = column;
  }
  self->lookahead = self->chunk[in_chunk];
  return true;
}
