// Texts and paths between Python and the engine.
//
// The engine's texts are UTF-8, and a path is bytes, which need not be: they show in `path`, in
// qualified names, in error texts and log records. A path that names a file goes to the engine as
// the bytes of that name, and bytes that are no UTF-8 come back as the lone surrogates that
// os.fsdecode makes of them. A path that is only a name for a content is a text, which need name no
// file in this locale: it goes as UTF-8 in which lone surrogates are encoded like other code
// points, and comes back the same.
#pragma once

#include <Python.h>

#include <cstdint>
#include <string>
#include <string_view>

namespace engines::treesitter::python {

// What a lone surrogate is on the engine's side: a byte that is no UTF-8, as in a file's name, or
// its own code point, encoded like others.
enum class Surrogates : std::uint8_t { are_bytes, are_encoded };

// A str of the engine's text. Null with an error set (for want of memory only).
inline PyObject* to_str(std::string_view text, Surrogates surrogates) {
  return PyUnicode_DecodeUTF8(
      text.data(), static_cast<Py_ssize_t>(text.size()),
      surrogates == Surrogates::are_bytes ? "surrogateescape" : "surrogatepass");
}
inline PyObject* to_str(std::string_view text) { return to_str(text, Surrogates::are_bytes); }

// A str of a path, a file's name as os.fsdecode gives it. Null with an error set.
inline PyObject* path_to_str(std::string_view path, Surrogates surrogates = Surrogates::are_bytes) {
  if (surrogates == Surrogates::are_encoded) return to_str(path, surrogates);
  return PyUnicode_DecodeFSDefaultAndSize(path.data(), static_cast<Py_ssize_t>(path.size()));
}

// The bytes of a path given as str, bytes or os.PathLike, as os.fsencode gives them. False with an
// error set: TypeError for anything else, UnicodeEncodeError for a surrogate that stands for no
// byte.
bool path_from(PyObject* object, std::string& path);

// A path that need be no file's name, its surrogates encoded; bytes are what os.fsdecode makes of
// them. False with an error set: TypeError.
bool path_text_from(PyObject* object, std::string& path);

// The UTF-8 of a str. False with an error set: TypeError, UnicodeEncodeError.
bool text_from(PyObject* object, const char* name, std::string& text);

// The same of any str, its surrogates encoded.
bool any_text_from(PyObject* object, const char* name, std::string& text);

// The same of a text that an index gave or may hold, its surrogates bytes that are no UTF-8.
bool index_text_from(PyObject* object, const char* name, std::string& text);

// An integer of 64 bits; `value` stays as it is when `object` is null. False with an error set:
// TypeError, OverflowError.
bool integer_from(PyObject* object, std::int64_t& value);

}  // namespace engines::treesitter::python
