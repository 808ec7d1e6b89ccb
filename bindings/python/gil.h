// Releases the GIL, the interpreter's lock, while the engine works.
//
// Tested by tests/python/test_interpreter_end.py.
#pragma once

#include <Python.h>

#include "bindings/python/interpreter_end.h"
#include "bindings/python/owned.h"

namespace engines::treesitter::python {

// Releases the GIL, runs `work` and takes the GIL again. `work` must not touch a Python object and
// must not throw. It must own what it uses: when the interpreter ends, the Python frames that
// called us lose their references while this thread still runs. On the thread that serves signals,
// `work` may take the GIL for a moment (signals.h).
//
// When the interpreter has begun to end meanwhile, this thread does not return: it waits here for
// the end of the process. Asking for the GIL would unwind the thread (owned.h), which frees the
// engine's storage for it while the process ends. That still happens when the end begins while the
// thread already waits for the GIL. This is therefore a function and not a guard object: a
// destructor must not be unwound.
//
// The thread that ends the interpreter does not release the GIL. A thread that got it then would
// use its thread state, which Python has freed.
template <typename Work>
void without_gil(Work&& work) {
  if (is_finalizing()) return work();
  PyThreadState* const state = PyEval_SaveThread();
  work();
  if (is_finalizing()) wait_for_process_end();
  PyEval_RestoreThread(state);
}

}  // namespace engines::treesitter::python
