// See texts.h.
#include "bindings/python/texts.h"

#include "bindings/python/owned.h"

namespace engines::treesitter::python {
namespace {

std::string_view bytes_view(PyObject* bytes) {
  return {PyBytes_AS_STRING(bytes), static_cast<std::size_t>(PyBytes_GET_SIZE(bytes))};
}

bool encoded_from(PyObject* object, const char* name, const char* errors, std::string& text) {
  if (!PyUnicode_Check(object)) {
    PyErr_Format(PyExc_TypeError, "%s must be str, not %.200s", name, Py_TYPE(object)->tp_name);
    return false;
  }
  if (PyUnicode_READY(object) != 0) return false;
  if (PyUnicode_IS_ASCII(object)) {
    text.assign(static_cast<const char*>(PyUnicode_DATA(object)),
                static_cast<std::size_t>(PyUnicode_GET_LENGTH(object)));
    return true;
  }
  const Owned bytes(PyUnicode_AsEncodedString(object, "utf-8", errors));
  if (!bytes) return false;
  text = bytes_view(bytes.get());
  return true;
}

}  // namespace

// Not by PyUnicode_FSConverter, which refuses U+0000: for the engine that is a file that cannot be
// read.
bool path_from(PyObject* object, std::string& path) {
  Owned given(PyOS_FSPath(object));
  if (!given) return false;
  if (PyUnicode_Check(given.get())) given = Owned(PyUnicode_EncodeFSDefault(given.get()));
  if (!given) return false;
  path = bytes_view(given.get());
  return true;
}

bool file_path_from(PyObject* object, std::string& path) {
  if (!path_from(object, path)) return false;
  if (path.find('\0') == std::string::npos) return true;
  PyErr_SetString(PyExc_ValueError, "embedded null byte");
  return false;
}

bool path_text_from(PyObject* object, std::string& path) {
  Owned given(PyOS_FSPath(object));
  if (!given) return false;
  if (PyBytes_Check(given.get())) {
    given = Owned(path_to_str(bytes_view(given.get())));
    if (!given) return false;
  }
  return any_text_from(given.get(), "path", path);
}

bool text_from(PyObject* object, const char* name, std::string& text) {
  return encoded_from(object, name, "strict", text);
}

bool any_text_from(PyObject* object, const char* name, std::string& text) {
  return encoded_from(object, name, "surrogatepass", text);
}

bool index_text_from(PyObject* object, const char* name, std::string& text) {
  return encoded_from(object, name, "surrogateescape", text);
}

bool integer_from(PyObject* object, std::int64_t& value) {
  if (object == nullptr) return true;
  value = PyLong_AsLongLong(object);
  return value != -1 || !PyErr_Occurred();
}

}  // namespace engines::treesitter::python
