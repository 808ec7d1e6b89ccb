// The JSON form of a record: one object on one line, ended by a line feed.
//
//   {"path","language","content_hash","symbols":[...],"references":[...],"errors":[...]}
//   {"path","raised"}             the parse ended with an error, whose text is "raised"
//   {"path","language":null}      the path has no language
//
// A file that cannot be read or is too large has the first shape, with an empty hash, an error
// text, and null as the language when the path has none. So "errors" has every failure of reading.
//
// The output is valid UTF-8 whatever the paths hold. Ill-formed bytes become U+FFFD, and a path
// that had any is followed by "path_bytes", its exact bytes in lower-case hexadecimal digits.
//
// Tested by tests/tool_formats_test.cpp.
#pragma once

#include <string_view>

#include "engines/treesitter/treesitter.h"
#include "tool/byte_sink.h"
#include "tool/output_buffer.h"

namespace tool {

// Writes the record's line. Takes 64 KiB of stack, and no memory for a copy of the line.
void write_json(ByteSink& sink, const engines::treesitter::ParsedItem& parsed);

// Writes "path":"...", and ,"path_bytes":"..." where the path is no UTF-8.
void write_json_path(OutputBuffer& out, std::string_view path);

}  // namespace tool
