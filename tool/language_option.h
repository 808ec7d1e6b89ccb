// What a user may write behind --language.
//
// Tested by tests/tool_test.py.
#pragma once

#include <string>
#include <string_view>

namespace tool {

// The canonical name: one of the sixteen, a suffix of its files without the full stop, or another
// usual name, in upper or lower case. Throws UsageError.
std::string language_meant(std::string_view text);

}  // namespace tool
