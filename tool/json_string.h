// A string of JSON from any bytes, in pieces.
//
// Tested by tests/tool_formats_test.cpp.
#pragma once

#include <string_view>

#include "tool/output_buffer.h"

namespace tool {

// With the quotation marks. Escaped are those two characters that must be, and control characters:
// by \b, \f, \n, \r, \t or \u00NN with lower-case digits. Each maximal ill-formed subpart of the
// bytes becomes one U+FFFD, as everywhere in the engine.
void write_json_string(OutputBuffer& out, std::string_view bytes);

}  // namespace tool
