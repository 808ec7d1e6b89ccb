// Hides arguments from CLI11 that it would misread.
//
// CLI11 reads a value such as "[a,b]" as a list, "{}" as an empty list and "++" as the end of a
// command; but folders have names like "[id]", and globs may begin with anything. Also it ignores a
// "--" behind the first path.
//
// Tested by tests/tool_test.py.
#pragma once

#include <string>
#include <vector>

namespace tool {

// Stands before a value so that CLI11 does not see how it begins. No argument can hold a NUL.
inline constexpr char SHIELD = '\0';

// The arguments without the program's name, shielded where needed. "--" is removed, and everything
// behind it is shielded, so that CLI11 takes all of that for paths.
std::vector<std::string> shielded(int count, const char* const* arguments);

// Removes the shield from a value that CLI11 has passed on, if it has one.
void unshield(std::string& argument);

}  // namespace tool
