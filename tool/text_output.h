// The text form of a record, for terminals, debuggers and the golden tests. It consists of lines,
// so that records can be compared line by line.
//
//   class     input.Job                                 1-7  export
//     sig   class Job
//     doc   Runs again and again.
//   method    input.Job.retry_later                     6-6
//     sig   def retry_later; end
//   ref call 4 puts
//   error Invalid symbol x: name holds a NUL character
//
// The entries are symbols (kind, qualified name, lines, "export" when exported), references (kind,
// line, name) and error texts, each in the order of the record. A field that is absent has no line;
// further lines of a text begin with "|". A symbol's name has a line only when it differs from what
// follows the last full stop of the qualified name. Texts are escaped (escape.h), so that every
// change of a record changes its text form.
//
// Tested by tests/tool_formats_test.cpp.
#pragma once

#include "engines/treesitter/treesitter.h"
#include "tool/byte_sink.h"

namespace tool {

// Writes "file PATH  LANGUAGE", the hash, the entries and an empty line. Takes 64 KiB of stack, and
// no memory for a copy of the record.
void write_text(ByteSink& sink, const engines::treesitter::ParsedItem& parsed);

// Writes only the entries of a result.
void write_text_entries(ByteSink& sink, const engines::treesitter::ParseResult& result);

}  // namespace tool
