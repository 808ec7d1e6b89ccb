// Has two things done at import that would otherwise be done when memory has run out, and then
// abort the process.
//
// Each throw uses a few bytes that the C++ library keeps for each thread. Python loads that library
// with us and not at its own start. So the C library allocates these bytes when a thread first
// throws, which may be std::bad_alloc, and aborts the process when it cannot. We refer to one
// variable of the C++ library by a descriptor (CMakeLists.txt sets the compiler option, for this
// file only). The loader then puts all of them into the memory with which threads start, if that
// has room. It is too late when another module has thrown before; then nothing changes. Refused:
// the initial-exec model, with which our import would fail in that case, and linking the C++
// library statically, which sanitizers cannot follow.
//
// The C library loads the unwinder when a thread of Python's first ends, and aborts when it has no
// memory for that. A backtrace makes it load the unwinder now.
//
// Tested by tests/python/test_processes.py.
#include <execinfo.h>

#include <mutex>

namespace {

// Nobody calls this; the reference in it is enough.
[[gnu::used]] const void* thread_data_of_the_cxx_library() { return &std::__once_callable; }

[[gnu::constructor]] void find_unwinder() {
  void* frame = nullptr;
  (void)::backtrace(&frame, 1);
}

}  // namespace
