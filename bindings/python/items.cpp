// See items.h.
#include "bindings/python/items.h"

#include "bindings/python/errors.h"
#include "bindings/python/owned.h"

namespace engines::treesitter::python {
namespace {

bool name_content(PyObject* language, PyObject* path, PyObject* file_id, Item& item) {
  item.surrogates = Surrogates::are_encoded;
  return path_text_from(path, item.parse.path) && integer_from(file_id, item.parse.file_id) &&
         text_from(language, "language", item.parse.language.emplace());
}

// Keeps a path that is no file's name, because it cannot be encoded, as a text; the error stays
// set.
void keep_unnameable(PyObject* path, Item& item) {
  const Owned error(take_error());
  item.surrogates = Surrogates::are_encoded;
  if (path_text_from(path, item.parse.path)) {
    set_error(error.get());
  }
}

// Holds the bytes of an object.
class Buffer {
 public:
  // An error is set when the object has none.
  explicit Buffer(PyObject* object)
      : _is_there(PyObject_GetBuffer(object, &_view, PyBUF_SIMPLE) == 0) {}
  Buffer(const Buffer&) = delete;
  Buffer& operator=(const Buffer&) = delete;
  ~Buffer() {
    if (_is_there) PyBuffer_Release(&_view);
  }

  bool copy_to(std::string& bytes) const {
    if (_is_there) bytes.assign(static_cast<const char*>(_view.buf), size());
    return _is_there;
  }

 private:
  std::size_t size() const { return static_cast<std::size_t>(_view.len); }

  Py_buffer _view{};
  bool _is_there;
};

}  // namespace

bool file_item(PyObject* path, PyObject* file_id, PyObject* language, Item& item) {
  if (!integer_from(file_id, item.parse.file_id)) return false;
  if (language != nullptr && language != Py_None &&
      !text_from(language, "language", item.parse.language.emplace())) {
    return false;
  }
  if (path_from(path, item.parse.path)) return true;
  if (PyErr_ExceptionMatches(PyExc_UnicodeEncodeError) != 0) keep_unnameable(path, item);
  return false;
}

bool text_item(PyObject* content, PyObject* language, PyObject* path, PyObject* file_id,
               Item& item) {
  item.parse.is_text = true;
  return name_content(language, path, file_id, item) &&
         text_from(content, "content", item.parse.content.emplace());
}

bool bytes_item(PyObject* content, PyObject* language, PyObject* path, PyObject* file_id,
                Item& item) {
  return name_content(language, path, file_id, item) &&
         Buffer(content).copy_to(item.parse.content.emplace());
}

bool any_item(PyObject* object, Item& item) {
  if (!PyTuple_Check(object)) return file_item(object, nullptr, nullptr, item);
  const Py_ssize_t size = PyTuple_GET_SIZE(object);
  PyObject* const* const parts = &PyTuple_GET_ITEM(object, 0);
  if (size == 2) return file_item(parts[0], parts[1], nullptr, item);
  if (size != 3 && size != 4) {
    PyErr_Format(PyExc_TypeError, "an item of parse_many must have 2 to 4 parts, not %zd", size);
    return false;
  }
  const auto content_item = PyUnicode_Check(parts[0]) ? text_item : bytes_item;
  return content_item(parts[0], parts[1], parts[2], size == 4 ? parts[3] : nullptr, item);
}

}  // namespace engines::treesitter::python
