// Texts and paths between Python and the engine.
//
// The engine's texts are UTF-8, and a path is bytes, which need not be. Bytes of a path that are no
// UTF-8 become the lone surrogates that os.fsdecode makes of them, wherever a path shows: in
// `path`, in qualified names, in error texts and log records.
#pragma once

#include <Python.h>

#include <cstdint>
#include <string>
#include <string_view>

#include "bindings/python/owned.h"

namespace engines::treesitter::python {

// A str of the engine's text. Null with an error set (for want of memory only).
inline PyObject* to_str(std::string_view text) {
  return PyUnicode_DecodeUTF8(text.data(), static_cast<Py_ssize_t>(text.size()), "surrogateescape");
}

// A str of a path's bytes, as os.fsdecode gives it. Null with an error set.
inline PyObject* path_to_str(std::string_view path) {
  return PyUnicode_DecodeFSDefaultAndSize(path.data(), static_cast<Py_ssize_t>(path.size()));
}

// The bytes of a path given as str, bytes or os.PathLike, as os.fsencode gives them. False with an
// error set: TypeError for anything else, UnicodeEncodeError for a surrogate that stands for no
// byte.
bool path_from(PyObject* object, std::string& path);

// The UTF-8 of a str. False with an error set: TypeError, UnicodeEncodeError.
bool text_from(PyObject* object, const char* name, std::string& text);

// An integer of 64 bits; `value` stays as it is when `object` is null. False with an error set:
// TypeError, OverflowError.
bool integer_from(PyObject* object, std::int64_t& value);

// A str's UTF-8 while this lives, without a copy when the str is ASCII. Another str is encoded into
// bytes of their own that go again; asking Python for its cached UTF-8 would leave the copy with
// the str for as long as the caller keeps it.
class Utf8 {
 public:
  // False with an error set: UnicodeEncodeError.
  bool encode(PyObject* str);
  std::string_view view() const { return _view; }

 private:
  Owned _holder;
  std::string_view _view;
};

}  // namespace engines::treesitter::python
