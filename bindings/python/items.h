// What the engine is to parse, from the arguments of Python's callers.
//
// Contents are copied: the engine works without the interpreter's lock, and a bytearray may change
// meanwhile.
#pragma once

#include <Python.h>

#include "bindings/python/texts.h"
#include "engines/treesitter/treesitter.h"

namespace engines::treesitter::python {

struct Item {
  ParseItem parse;
  Surrogates surrogates = Surrogates::are_bytes;  // in its path, and in all texts that show it
};

// Each fills the item, and gives false with an error set. With UnicodeEncodeError, which is about
// the item and not about the call, it has its path nonetheless, for a result to name it.

// A file: what parse_file takes. `language` may be null or None.
bool file_item(PyObject* path, PyObject* file_id, PyObject* language, Item& item);

// A content of str, or of bytes and their like: what parse_content and parse_bytes take. `file_id`
// may be null.
bool text_item(PyObject* content, PyObject* language, PyObject* path, PyObject* file_id,
               Item& item);
bool bytes_item(PyObject* content, PyObject* language, PyObject* path, PyObject* file_id,
                Item& item);

// Any of them, as parse_many takes it: a path, or a tuple of arguments.
bool any_item(PyObject* object, Item& item);

}  // namespace engines::treesitter::python
