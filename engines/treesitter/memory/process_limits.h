// What the system allows this process: memory and processors.
//
// Tested by tests/room_test.cpp.
#pragma once

#include <cstddef>
#include <cstdint>

namespace engines::treesitter {

// Bytes: the least of physical memory, RLIMIT_AS and the limits of the process's control groups,
// version 1 or 2. Reads some small files, and allocates nothing by the operator new.
std::uint64_t process_memory_limit();

// How many threads that parse leave most of RLIMIT_AS to what they parse; at least one.
std::size_t affordable_threads();

}  // namespace engines::treesitter
