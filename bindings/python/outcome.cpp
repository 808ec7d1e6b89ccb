// Tested by tests/python/test_engine.py.
#include "bindings/python/outcome.h"

#include "bindings/python/errors.h"
#include "bindings/python/results.h"

namespace engines::treesitter::python {

PyObject* deliver(ModuleState& state, const Outcome& outcome) {
  if (!emit_records(state, outcome.records)) return nullptr;
  if (outcome.error != nullptr) return raise(state, outcome.error);
  if (!outcome.result) Py_RETURN_NONE;
  return to_python(state, *outcome.result);
}

}  // namespace engines::treesitter::python
