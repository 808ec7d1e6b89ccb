// See arguments.h.
#include "bindings/python/arguments.h"

#include <algorithm>

namespace engines::treesitter::python {
namespace {

bool take_positional(const Parameters& parameters, std::size_t count) {
  const std::size_t most = std::min(parameters.positional, parameters.names.size());
  if (count <= most) return true;
  PyErr_Format(PyExc_TypeError, "%s() takes at most %zu %sarguments (%zu given)",
               parameters.function, most, most < parameters.names.size() ? "positional " : "",
               count);
  return false;
}

bool take_keyword(const Parameters& parameters, PyObject* name, PyObject* value,
                  std::span<PyObject*> values) {
  const auto found = std::find_if(
      parameters.names.begin(), parameters.names.end(),
      [name](const char* known) { return PyUnicode_CompareWithASCIIString(name, known) == 0; });
  if (found == parameters.names.end()) {
    PyErr_Format(PyExc_TypeError, "%s() got an unexpected keyword argument %R", parameters.function,
                 name);
    return false;
  }
  PyObject*& slot = values[static_cast<std::size_t>(found - parameters.names.begin())];
  if (slot != nullptr) {
    PyErr_Format(PyExc_TypeError, "%s() got multiple values for argument %R", parameters.function,
                 name);
    return false;
  }
  slot = value;
  return true;
}

bool require_all(const Parameters& parameters, std::span<PyObject* const> values) {
  for (std::size_t i = 0; i < parameters.required; ++i) {
    if (values[i] != nullptr) continue;
    PyErr_Format(PyExc_TypeError, "%s() missing required argument '%s' (pos %zu)",
                 parameters.function, parameters.names[i], i + 1);
    return false;
  }
  return true;
}

}  // namespace

bool bind_arguments(const Parameters& parameters, PyObject* const* arguments, Py_ssize_t count,
                    PyObject* keywords, std::span<PyObject*> values) {
  std::fill(values.begin(), values.end(), nullptr);
  if (!take_positional(parameters, static_cast<std::size_t>(count))) return false;
  std::copy_n(arguments, count, values.begin());
  const Py_ssize_t named = keywords == nullptr ? 0 : PyTuple_GET_SIZE(keywords);
  for (Py_ssize_t i = 0; i < named; ++i) {
    PyObject* const name = PyTuple_GET_ITEM(keywords, i);
    if (!take_keyword(parameters, name, arguments[count + i], values)) return false;
  }
  return require_all(parameters, values);
}

bool bind_arguments(const Parameters& parameters, PyObject* arguments, PyObject* keywords,
                    std::span<PyObject*> values) {
  std::fill(values.begin(), values.end(), nullptr);
  const Py_ssize_t count = PyTuple_GET_SIZE(arguments);
  if (!take_positional(parameters, static_cast<std::size_t>(count))) return false;
  for (Py_ssize_t i = 0; i < count; ++i) {
    values[static_cast<std::size_t>(i)] = PyTuple_GET_ITEM(arguments, i);
  }
  Py_ssize_t position = 0;
  PyObject* name = nullptr;
  PyObject* value = nullptr;
  while (keywords != nullptr && PyDict_Next(keywords, &position, &name, &value)) {
    if (!take_keyword(parameters, name, value, values)) return false;
  }
  return require_all(parameters, values);
}

}  // namespace engines::treesitter::python
