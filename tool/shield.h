// Arguments that CLI11 would take for something else, hidden from it.
//
// CLI11 reads a value like "[a,b]" as a list, "{}" as an empty one and "++" as the end of a
// command, while folders are called "[id]" and globs begin with anything; and it forgets a "--"
// that stands behind the first path.
//
// Tested by tests/tool_test.py.
#pragma once

#include <string>
#include <vector>

namespace tool {

// A NUL, which no argument can hold, in front of a value hides its beginning.
inline constexpr char SHIELD = '\0';

// The arguments without the program's name, and without the "--" behind which all are paths.
std::vector<std::string> shielded(int count, const char* const* arguments);

void unshield(std::string& argument);

}  // namespace tool
