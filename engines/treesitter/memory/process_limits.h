// How much memory, and how many threads, the system allows this process.
//
// Tested by tests/room_test.cpp.
#pragma once

#include <cstddef>
#include <cstdint>

namespace engines::treesitter {

// The least of physical memory, RLIMIT_AS and the limits of the process's control groups (version 1
// or 2), in bytes. Reads some small files, and does not call operator new.
std::uint64_t process_memory_limit();

// How many threads may parse so that their own address space takes at most a quarter of RLIMIT_AS;
// at least one.
std::size_t affordable_threads();

}  // namespace engines::treesitter
