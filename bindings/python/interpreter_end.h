// What threads inside the engine do while the interpreter, and then the process, ends.
//
// Daemon threads go on while the main thread ends the interpreter and runs the process's exit
// handlers. These destroy what libraries and we ourselves keep for the process, and a thread in the
// middle of a file then crashes it. So the end of the interpreter cancels the calls that are under
// way, waits until they have given up, which takes some 50 ms, and lets none begin.
//
// Tested by tests/python/test_interpreter_end.py and test_processes.py.
#pragma once

#include <stop_token>

namespace engines::treesitter::python {

// Makes the end of the interpreter wait so. To be called by every import of the module.
void wait_for_calls_at_end();

// A token that is stopped when the interpreter ends. To be called with the GIL of any interpreter
// of the process held.
std::stop_token end_of_interpreter();

// Exists while a call of the engine is under way, on any thread.
class EngineCall {
 public:
  EngineCall() noexcept;
  ~EngineCall();
  EngineCall(const EngineCall&) = delete;
  EngineCall& operator=(const EngineCall&) = delete;

  // Whether the call may begin. If not, the interpreter has ended, and nobody waits for a result.
  bool may_begin() const noexcept { return _may_begin; }

  // Whether this thread is in the middle of a call; it is when the handler of a signal calls us
  // then.
  static bool is_under_way() noexcept;

 private:
  bool _may_begin;
};

// For a thread that may not return to an interpreter which ends: waits until the process ends.
[[noreturn]] void wait_for_process_end() noexcept;

}  // namespace engines::treesitter::python
