// Runs Python's signal handlers while the engine works on the main thread.
//
// Python runs handlers on the main thread only, between two of its instructions, and a call of the
// engine is one instruction. So a parse on that thread looks for signals now and then, and takes
// the GIL for that. Other threads never do: the end of the interpreter could unwind them while they
// wait for the GIL (gil.h), and the engine's own functions must not be unwound so.
//
// Tested by tests/python/test_signals.py.
#pragma once

#include <Python.h>

#include <chrono>
#include <functional>

namespace engines::treesitter::python {

// One for each call. For a thread that holds the GIL; only `function` gives what runs without it.
class SignalPoll {
 public:
  SignalPoll();

  // For Cancellation::poll: gives true when a handler has raised. Looks every 50 ms. Empty on
  // threads other than the main one. This object must outlive it.
  std::function<bool()> function();

  // Whether what a handler raised is now the current error.
  bool has_raised() const { return _has_raised; }

 private:
  bool poll();

  PyThreadState* _thread;  // null on threads other than the main one
  std::chrono::steady_clock::time_point _next;
  bool _has_raised = false;
};

}  // namespace engines::treesitter::python
