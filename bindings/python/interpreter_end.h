// Leaving in order: what threads inside the engine do while the interpreter, and then the process,
// ends.
//
// Daemon threads go on while the main thread ends the interpreter and runs the process's exit
// handlers. These destroy what the libraries and we ourselves keep for the process, and a thread in
// the middle of a file then crashes it. So the end of the interpreter cancels the calls that are
// under way, waits until they have given up, which takes some 50 ms, and lets none begin.
#pragma once

#include <stop_token>

namespace engines::treesitter::python {

// Arranges for the wait. To be called by every import of the module.
void wait_for_calls_at_end();

// Stopped when the interpreter ends. To be called with the interpreter's lock held, or that of
// another interpreter of the process.
std::stop_token end_of_interpreter();

// A call of the engine, on whatever thread.
class EngineCall {
 public:
  EngineCall() noexcept;
  ~EngineCall();
  EngineCall(const EngineCall&) = delete;
  EngineCall& operator=(const EngineCall&) = delete;

  // Whether the call may begin. If not, the interpreter has ended, and nobody waits for a result.
  bool may_begin() const noexcept { return _may_begin; }

  // Whether this thread is in the middle of one, as the handler of a signal finds it.
  static bool is_under_way() noexcept;

 private:
  bool _may_begin;
};

// For a thread that has no more place in the interpreter: waits until the process ends.
[[noreturn]] void wait_for_process_end() noexcept;

}  // namespace engines::treesitter::python
