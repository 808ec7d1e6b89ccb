// Any bytes as one line of visible text, for people: the text form of records, messages on standard
// error. A file name can hold line feeds and terminal commands; neither may reach a terminal.
//
// The form can be read back: a backslash is doubled; \xNN is a byte (a control character, or a byte
// of ill-formed UTF-8), \u{NNNN} a code point that shows nothing or turns the line around, \n, \r
// and \t are what they are everywhere; and a space at the very end, which nobody would see, is
// \x20.
//
// Tested by tests/tool_formats_test.cpp.
#pragma once

#include <string>
#include <string_view>

#include "tool/output_buffer.h"

namespace tool {

// In pieces: the text may be as long as memory.
void write_escaped(OutputBuffer& out, std::string_view bytes);

std::string escaped(std::string_view bytes);

}  // namespace tool
