// The JSON form of a record: one object on one line, ended by a line feed.
//
//   {"path","language","content_hash","symbols":[...],"references":[...],"errors":[...]}
//   {"path","raised"}             an error reached the caller; "raised" is its text
//   {"path","language":null}      the path tells no language
//
// A path that cannot be read and tells no language has the first shape with a null language, an
// empty hash and its error text: whoever watches "errors" sees every failure of reading.
//
// The output is valid UTF-8 whatever the paths hold. Ill-formed bytes become U+FFFD, and a path
// that had any is followed by "path_bytes", its exact bytes in lower-case hexadecimal digits.
//
// Tested by tests/tool_formats_test.cpp.
#pragma once

#include <string>

#include "tool/record.h"

namespace tool {

// Appends the record's line to `out`.
void append_json(std::string& out, const Record& record);

}  // namespace tool
