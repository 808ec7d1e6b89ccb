// Signals that arrive while the engine works on the thread that serves them.
//
// Python runs its handlers on the main thread only, between two of its instructions, and a call of
// the engine is one. So a parse on that thread asks now and then, which takes the interpreter's
// lock for a moment. Other threads never ask: they could meet the end of the interpreter there,
// which unwinds them (gil.h), and the engine lets nothing unwind it.
#pragma once

#include <Python.h>

#include <chrono>
#include <functional>

namespace engines::treesitter::python {

// One for each call. Made, and asked whether a handler raised, with the interpreter's lock held.
class SignalPoll {
 public:
  SignalPoll();

  // For Cancellation::poll: true when a handler has raised. Empty on threads that serve no signals.
  // This must outlive it.
  std::function<bool()> function();

  // Whether what a handler raised is now the current error.
  bool has_raised() const { return _has_raised; }

 private:
  bool poll();

  PyThreadState* _thread;  // null where no signals are served
  std::chrono::steady_clock::time_point _next;
  bool _has_raised = false;
};

}  // namespace engines::treesitter::python
