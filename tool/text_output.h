// The text form of a record, for terminals, debuggers and the golden tests: line-based, so that a
// difference between two of them is a difference of lines.
//
//   class     input.Job                                 1-7  export
//     sig   class Job
//     doc   Runs again and again.
//   method    input.Job.retry_later                     6-6
//     sig   def retry_later; end
//   ref call 4 puts
//   error Invalid symbol x: name holds a NUL character
//
// An entry is a symbol (kind, qualified name, lines, "export" when it is exported), a reference
// (kind, line, name) or an error text, each in the order of the record. Absent fields have no line.
// A text of several lines goes on behind "|". A symbol's name has a line of its own only where it
// is not what follows the last full stop of the qualified name. Texts are escaped (escape.h), so
// that every change of a record changes its text form.
//
// Tested by tests/tool_formats_test.cpp.
#pragma once

#include "engines/treesitter/treesitter.h"
#include "tool/byte_sink.h"

namespace tool {

// Writes "file PATH  LANGUAGE" with the hash, the entries, and an empty line, in pieces of bounded
// size: beside the record it takes 64 KiB of stack.
void write_text(ByteSink& sink, const engines::treesitter::ParsedItem& parsed);

// Writes the entries of a result alone.
void write_text_entries(ByteSink& sink, const engines::treesitter::ParseResult& result);

}  // namespace tool
