// The JSON form of a record: one object on one line, ended by a line feed.
//
//   {"path","language","content_hash","symbols":[...],"references":[...],"errors":[...]}
//   {"path","raised"}             an error reached the caller; "raised" is its text
//   {"path","language":null}      the path tells no language
//
// A path that cannot be read, or whose file is left out for its size, has the first shape with an
// empty hash and its error text, and a null language when the path tells none: whoever watches
// "errors" sees every failure of reading.
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

// Writes the record's line, in pieces of bounded size: beside the record it takes 64 KiB of stack.
void write_json(ByteSink& sink, const engines::treesitter::ParsedItem& parsed);

// "path":"...", and "path_bytes" where it is needed.
void write_json_path(OutputBuffer& out, std::string_view path);

}  // namespace tool
