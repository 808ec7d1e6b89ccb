// The SHA-256 of a file, for those that may be as they were although their times are not.
//
// Tested by tests/index_command_test.py.
#pragma once

#include <string>

#include "index/poll.h"

namespace repository {

// Its 32 bytes; empty when the file cannot be read or is no regular one. Links are not followed.
// Reads in pieces, and gives up between two of them where the poll says so.
std::string file_digest(const std::string& path, const Poll& poll = {});

}  // namespace repository
