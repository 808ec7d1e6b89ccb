// The module's functions: the registry's answers, parse_many, and the text helpers.
#pragma once

#include <Python.h>

namespace engines::treesitter::python {

extern PyMethodDef module_functions[];

}  // namespace engines::treesitter::python
