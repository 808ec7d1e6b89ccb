// Writes any bytes as a string of JSON.
//
// Cost: little more than a copy of the bytes.
//
// Tested by tests/tool_formats_test.cpp.
#pragma once

#include <string_view>

#include "tool/output_buffer.h"

namespace tool {

// Writes the quotation marks, too. Escapes quotation marks and backslashes, and control characters
// as \b, \f, \n, \r, \t or \u00NN with lower-case digits. Each maximal ill-formed subpart of the
// bytes becomes one U+FFFD, as everywhere in the engine. Needs no memory beside the buffer.
void write_json_string(OutputBuffer& out, std::string_view bytes);

}  // namespace tool
