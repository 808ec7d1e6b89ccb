// Tells by a file's path whether it is a test. Answers prefer other files.
//
// Tested by tests/index_test.cpp.
#pragma once

#include <string_view>

namespace repository {

bool is_test_path(std::string_view path);

}  // namespace repository
