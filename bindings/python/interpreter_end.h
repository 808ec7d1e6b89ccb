// Leaving in order: what threads inside the engine do while the interpreter, and then the process,
// ends.
//
// Daemon threads go on while the main thread ends the interpreter and runs the process's exit
// handlers. These destroy what the libraries and we ourselves keep for the process, and a thread in
// the middle of a file then crashes it. So the end of the interpreter waits for calls that are
// under way and lets none begin. The guards around every parse bound that wait; Ctrl-C ends it.
#pragma once

namespace engines::treesitter::python {

// Arranges for the wait. To be called by every import of the module.
void wait_for_calls_at_end();

// A call of the engine, on whatever thread.
class EngineCall {
 public:
  EngineCall() noexcept;
  ~EngineCall();
  EngineCall(const EngineCall&) = delete;
  EngineCall& operator=(const EngineCall&) = delete;

  // Whether the call may begin. If not, the interpreter has ended, and nobody waits for a result.
  bool may_begin() const noexcept { return _may_begin; }

 private:
  bool _may_begin;
};

// For a thread that has no more place in the interpreter: waits until the process ends.
[[noreturn]] void wait_for_process_end() noexcept;

}  // namespace engines::treesitter::python
