// Memory of threads that the C++ library asks for in the middle of an exception.
//
// Each throw looks at a few bytes that the C++ library keeps for each thread. Python loads that
// library with us and not at its own start, so the C library allocates them when a thread first
// throws, and aborts the process when it is out of memory: of all moments, while std::bad_alloc is
// on its way. One variable of that library that is reached by a descriptor (CMakeLists.txt asks the
// compiler for it, in this file only) makes the loader put all of them into the memory that threads
// start with, where there is room. Where that comes too late, as after another module that has
// thrown, all stays as it was. Refused: the initial-exec model, with which our import would then
// fail, and linking the C++ library statically, which sanitizers cannot look into.
//
// The C library, too, looks for the unwinder only when a thread of Python's first ends, and aborts
// when there is no memory left to find it. Asking for a backtrace makes it look now.
//
// Tested by tests/python/test_processes.py.
#include <execinfo.h>

#include <mutex>

namespace {

// The reference is all; nobody calls this.
[[gnu::used]] const void* thread_data_of_the_cxx_library() { return &std::__once_callable; }

[[gnu::constructor]] void find_unwinder() {
  void* frame = nullptr;
  (void)::backtrace(&frame, 1);
}

}  // namespace
