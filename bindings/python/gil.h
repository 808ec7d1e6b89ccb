// Working without the interpreter's lock.
#pragma once

#include <Python.h>

#include "bindings/python/interpreter_end.h"
#include "bindings/python/owned.h"

namespace engines::treesitter::python {

// Runs `work`, which must neither touch a Python object nor throw, and must own what it uses: the
// end of the interpreter drops the references of the Python frames above, though their threads
// still run. On the thread that serves signals it may take the lock for a moment (signals.h).
//
// A thread that comes back while another ends the interpreter has nowhere to go. Asking for the
// lock would unwind it (owned.h) and free the storage that the engine keeps for it, in the middle
// of the process's end; so it stays here. It may still come to that, when the end begins while it
// waits for the lock: hence a function and no guard object, whose destructor nothing may leave.
//
// The thread that ends the interpreter keeps the lock. Nobody else has use for it, and a thread
// that got it in passing would look for its state, which is freed by then.
template <typename Work>
void without_gil(Work&& work) {
  if (is_finalizing()) return work();
  PyThreadState* const state = PyEval_SaveThread();
  work();
  if (is_finalizing()) wait_for_process_end();
  PyEval_RestoreThread(state);
}

}  // namespace engines::treesitter::python
