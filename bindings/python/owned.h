// Owned: one strong reference to a Python object, released by the destructor.
//
// Any call into Python may release the GIL for a while. A thread that waits for it while another
// thread ends the interpreter is ended by unwinding its stack. An Owned that is destroyed so,
// without the GIL, does not release its object.
#pragma once

#include <Python.h>

#include <utility>

namespace engines::treesitter::python {

// Whether the interpreter's end has begun. May be called without the GIL.
inline bool is_finalizing() {
#if PY_VERSION_HEX >= 0x030D0000
  return Py_IsFinalizing() != 0;
#else
  return _Py_IsFinalizing() != 0;
#endif
}

class Owned {
 public:
  Owned() = default;
  // Takes over the reference, which may be null.
  explicit Owned(PyObject* object) : _object(object) {}
  Owned(Owned&& other) noexcept : _object(std::exchange(other._object, nullptr)) {}
  Owned& operator=(Owned&& other) noexcept {
    std::swap(_object, other._object);
    return *this;
  }
  Owned(const Owned&) = delete;
  Owned& operator=(const Owned&) = delete;
  ~Owned() {
    if (is_finalizing() && PyGILState_Check() == 0) return;
    Py_XDECREF(_object);
  }

  PyObject* get() const { return _object; }
  PyObject* release() { return std::exchange(_object, nullptr); }
  explicit operator bool() const { return _object != nullptr; }

 private:
  PyObject* _object = nullptr;
};

}  // namespace engines::treesitter::python
