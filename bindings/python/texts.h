// Converts texts and paths between Python and the engine.
//
// The engine's texts are UTF-8. Its paths are any bytes, which also show in qualified names, error
// texts and log records. A path that names a file goes to the engine as the bytes of that name;
// bytes that are no UTF-8 come back as the lone surrogates that os.fsdecode makes of them. A path
// that only names a content is a text, which need not be a file's name in this locale: lone
// surrogates in it are encoded like other code points, and come back the same.
//
// Tested by tests/python/test_paths.py and test_errors.py.
#pragma once

#include <Python.h>

#include <cstdint>
#include <string>
#include <string_view>

namespace engines::treesitter::python {

// What a lone surrogate of a str is for the engine: a byte that is no UTF-8, as in a file's name,
// or a code point that is encoded like others.
enum class Surrogates : std::uint8_t { are_bytes, are_encoded };

// A str of the engine's text. Null with a MemoryError set.
inline PyObject* to_str(std::string_view text, Surrogates surrogates) {
  return PyUnicode_DecodeUTF8(
      text.data(), static_cast<Py_ssize_t>(text.size()),
      surrogates == Surrogates::are_bytes ? "surrogateescape" : "surrogatepass");
}
inline PyObject* to_str(std::string_view text) { return to_str(text, Surrogates::are_bytes); }

// A str of a path: of a file's name the one that os.fsdecode gives. Null with an error set.
inline PyObject* path_to_str(std::string_view path, Surrogates surrogates = Surrogates::are_bytes) {
  if (surrogates == Surrogates::are_encoded) return to_str(path, surrogates);
  return PyUnicode_DecodeFSDefaultAndSize(path.data(), static_cast<Py_ssize_t>(path.size()));
}

// The bytes of a path given as str, bytes or os.PathLike, as os.fsencode gives them. False with an
// error set: TypeError for anything else, UnicodeEncodeError for a surrogate that stands for no
// byte.
bool path_from(PyObject* object, std::string& path);

// The same for functions to which a NUL would end the path: ValueError for a path with one.
bool file_path_from(PyObject* object, std::string& path);

// A path that need not be a file's name, with lone surrogates encoded; bytes are first decoded by
// os.fsdecode. False with an error set: TypeError.
bool path_text_from(PyObject* object, std::string& path);

// The UTF-8 of a str. `name`: the argument, for error texts. False with an error set: TypeError,
// UnicodeEncodeError.
bool text_from(PyObject* object, const char* name, std::string& text);

// The same, with lone surrogates encoded.
bool any_text_from(PyObject* object, const char* name, std::string& text);

// The same for a question to an index, with lone surrogates as bytes that are no UTF-8.
bool index_text_from(PyObject* object, const char* name, std::string& text);

// An integer of 64 bits; `value` does not change when `object` is null. False with an error set:
// TypeError, OverflowError.
bool integer_from(PyObject* object, std::int64_t& value);

}  // namespace engines::treesitter::python
