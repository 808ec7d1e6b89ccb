// SHA-256 as an index keeps it. A file whose times have changed may still have its old bytes: its
// hash tells.
//
// Tested by tests/index_command_test.py.
#pragma once

#include <string>
#include <string_view>

#include "index/poll.h"

namespace repository {

// The 32 bytes of a hash that is given in hexadecimal digits; empty when there are no digits.
std::string hash_bytes(std::string_view digits);

// The 32 bytes of a file's hash; empty when the file cannot be read or is no regular file, and when
// the poll gave true between two pieces of 64 KiB. Links are not followed.
std::string file_hash(const std::string& path, const Poll& poll = {});

}  // namespace repository
