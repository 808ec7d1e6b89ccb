// Converts arguments to items for the engine.
//
// Contents are copied: the engine works without the GIL, and a bytearray may change meanwhile.
//
// Tested by tests/python/test_paths.py, test_errors.py and test_parse_many.py.
#pragma once

#include <Python.h>

#include "bindings/python/texts.h"
#include "engines/treesitter/treesitter.h"

namespace engines::treesitter::python {

struct Item {
  ParseItem parse;
  Surrogates surrogates = Surrogates::are_bytes;  // in its path, and in texts that show the path
};

// Each fills the item; false with an error set. UnicodeEncodeError is about the item and not about
// the call: the item then has its path nonetheless, so that a result can name it.

// A file: the arguments of parse_file. `language` may be null or None.
bool file_item(PyObject* path, PyObject* file_id, PyObject* language, Item& item);

// A content: the arguments of parse_content, and of parse_bytes. `file_id` may be null.
bool text_item(PyObject* content, PyObject* language, PyObject* path, PyObject* file_id,
               Item& item);
bool bytes_item(PyObject* content, PyObject* language, PyObject* path, PyObject* file_id,
                Item& item);

// An item of parse_many: a path, or a tuple of arguments.
bool any_item(PyObject* object, Item& item);

}  // namespace engines::treesitter::python
