// Whether a file is a test, as far as its path tells: what is asked for is rarely there.
//
// Tested by tests/index_test.cpp.
#pragma once

#include <string_view>

namespace repository {

bool is_test_path(std::string_view path);

}  // namespace repository
