// Turns any bytes into one line of visible text, for the text forms and for messages. A file name
// can hold line feeds and terminal commands, and neither may reach a terminal.
//
// The result can be read back: \\ is a backslash; \n, \r and \t are as usual; \xNN is another
// control character, or a byte of ill-formed UTF-8; \u{NNNN} is a code point that shows nothing or
// changes the direction of the line; \x20 is a space at the end, which nobody would see.
//
// Tested by tests/tool_formats_test.cpp.
#pragma once

#include <string>
#include <string_view>

#include "tool/output_buffer.h"

namespace tool {

// Needs no memory beside the buffer, however long the text is.
void write_escaped(OutputBuffer& out, std::string_view bytes);

std::string escaped(std::string_view bytes);

}  // namespace tool
