// See errors.h.
#include "bindings/python/errors.h"

#include <new>
#include <stdexcept>
#include <system_error>

#include "bindings/python/owned.h"
#include "bindings/python/texts.h"
#include "engines/treesitter/parsing/parser.h"
#include "engines/treesitter/reading/file.h"
#include "engines/treesitter/treesitter.h"
#include "index/index_error.h"

namespace engines::treesitter::python {
namespace {

PyObject* instance(PyObject* type, std::string_view text) {
  const Owned message(to_str(text));
  return message ? PyObject_CallOneArg(type, message.get()) : nullptr;
}

PyObject* decode_error(const Utf8Error& error) {
  return PyUnicodeDecodeError_Create("utf-8", error.object.data(),
                                     static_cast<Py_ssize_t>(error.object.size()),
                                     static_cast<Py_ssize_t>(error.start),
                                     static_cast<Py_ssize_t>(error.end), error.reason.c_str());
}

// Python chooses the subclass by the number: FileNotFoundError, PermissionError and so on.
PyObject* read_error(const FileReadError& error) {
  return PyObject_CallFunction(PyExc_OSError, "isN", error.code().value(),
                               error.description().c_str(), path_to_str(error.path().native()));
}

PyObject* system_error(const std::system_error& error) {
  return PyObject_CallFunction(PyExc_OSError, "is", error.code().value(),
                               error.code().message().c_str());
}

PyObject* new_error_type(PyObject* module, const char* name, const char* doc) {
  const Owned qualified(PyUnicode_FromFormat("treesitter.%s", name));
  const char* const text = qualified ? PyUnicode_AsUTF8(qualified.get()) : nullptr;
  if (text == nullptr) return nullptr;
  PyObject* const type = PyErr_NewExceptionWithDoc(text, doc, PyExc_RuntimeError, nullptr);
  if (type == nullptr || PyModule_AddObjectRef(module, name, type) == 0) return type;
  Py_DECREF(type);
  return nullptr;
}

}  // namespace

bool add_error_types(ModuleState& state, PyObject* module) {
  state.parse_error = new_error_type(module, "ParseError",
                                     "A parse that gave no tree. Never raised: the result of such "
                                     "a file says so in its errors, and\n"
                                     "the log record of it carries this as exc_info.");
  state.result_limit_error = new_error_type(module, "ResultLimitError",
                                            "The record of one file would be out of all proportion "
                                            "to it, as for a megabyte of nested keys.");
  state.repository_index_error = new_error_type(module, "RepositoryIndexError",
                                                "There is no index of a repository, or one that "
                                                "cannot be asked. The text says how to make one.");
  return state.parse_error != nullptr && state.result_limit_error != nullptr &&
         state.repository_index_error != nullptr;
}

// Derived types stand before their bases.
PyObject* to_exception(const ModuleState& state, const std::exception_ptr& error) {
  try {
    std::rethrow_exception(error);
  } catch (const Utf8Error& fault) {
    return decode_error(fault);
  } catch (const FileReadError& fault) {
    return read_error(fault);
  } catch (const ParseError& fault) {
    return instance(state.parse_error, fault.what());
  } catch (const ResultLimitError& fault) {
    return instance(state.result_limit_error, fault.what());
  } catch (const repository::QuestionError& fault) {
    return instance(PyExc_ValueError, fault.what());
  } catch (const repository::IndexError& fault) {
    return instance(state.repository_index_error, fault.what());
  } catch (const std::invalid_argument& fault) {
    return instance(PyExc_ValueError, fault.what());
  } catch (const std::system_error& fault) {
    return system_error(fault);
  } catch (const std::bad_alloc&) {
    return PyObject_CallNoArgs(PyExc_MemoryError);
  } catch (const std::exception& fault) {
    return instance(PyExc_RuntimeError, fault.what());
  }
}

PyObject* raise(const ModuleState& state, const std::exception_ptr& error) {
  const Owned exception(to_exception(state, error));
  if (exception) set_error(exception.get());
  return nullptr;
}

void set_error(PyObject* exception) {
  PyErr_SetObject(PyExceptionInstance_Class(exception), exception);
}

PyObject* take_error() {
  PyObject* type = nullptr;
  PyObject* value = nullptr;
  PyObject* trace = nullptr;
  PyErr_Fetch(&type, &value, &trace);
  if (type == nullptr) return nullptr;
  PyErr_NormalizeException(&type, &value, &trace);
  if (trace != nullptr) PyException_SetTraceback(value, trace);
  Py_DECREF(type);
  Py_XDECREF(trace);
  return value;
}

PyObject* to_exception_here(const ModuleState& state, const std::exception_ptr& error) {
  const Owned exception(to_exception(state, error));
  if (!exception) return nullptr;
  set_error(exception.get());
  // There is no frame when a C program has called us.
  if (PyFrameObject* const caller = PyEval_GetFrame()) PyTraceBack_Here(caller);
  return take_error();
}

}  // namespace engines::treesitter::python
