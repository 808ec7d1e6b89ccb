// The module `treesitter`: what `import treesitter` defines.
//
// Importing it starts no thread and imports only Python's enum. The packages logging, dataclasses
// and re, which take longer to import than all of this, are imported when they are first needed.
//
// Tested by tests/python/test_module.py.
#include <Python.h>

#include "bindings/python/answers.h"
#include "bindings/python/engine.h"
#include "bindings/python/errors.h"
#include "bindings/python/index.h"
#include "bindings/python/interpreter_end.h"
#include "bindings/python/log_records.h"
#include "bindings/python/module_functions.h"
#include "bindings/python/owned.h"
#include "bindings/python/parse_many.h"
#include "bindings/python/records.h"
#include "bindings/python/state.h"
#include "bindings/python/symbol_kinds.h"
#include "bindings/python/texts.h"
#include "engines/languages/versions.h"
#include "engines/treesitter/treesitter.h"

namespace engines::treesitter::python {
namespace {

constexpr const char* PUBLIC_NAMES[] = {
    "Answer",
    "Candidate",
    "Change",
    "Definition",
    "IMPORT_MODULE_KIND",
    "Index",
    "LanguageCount",
    "LanguageInfo",
    "MAX_BODY_DIGEST_LENGTH",
    "MAX_DOCSTRING_LENGTH",
    "ParseError",
    "ParseMany",
    "ParseResult",
    "ReferenceInfo",
    "RepositoryIndexError",
    "ResultLimitError",
    "Statistics",
    "Symbol",
    "SymbolKind",
    "TRUNCATION_SUFFIX",
    "TreeSitterEngine",
    "Use",
    "build_info",
    "core_version",
    "detect_language",
    "language_infos",
    "language_names",
    "parse_many",
};

bool add(PyObject* module, const char* name, PyObject* made) {
  const Owned object(made);
  return object && PyModule_AddObjectRef(module, name, object.get()) == 0;
}

bool add_constants(PyObject* module) {
  return add(module, "MAX_DOCSTRING_LENGTH", PyLong_FromSize_t(MAX_DOCSTRING_LENGTH)) &&
         add(module, "TRUNCATION_SUFFIX", to_str(TRUNCATION_SUFFIX)) &&
         add(module, "MAX_BODY_DIGEST_LENGTH", PyLong_FromSize_t(MAX_BODY_DIGEST_LENGTH)) &&
         add(module, "IMPORT_MODULE_KIND", to_str(IMPORT_MODULE_KIND)) &&
         add(module, "__version__", to_str(languages::ENGINE_VERSION));
}

bool add_public_names(PyObject* module) {
  Owned names(PyList_New(0));
  for (const char* const text : PUBLIC_NAMES) {
    const Owned name(names ? to_str(text) : nullptr);
    if (!name || PyList_Append(names.get(), name.get()) != 0) return false;
  }
  return add(module, "__all__", names.release());
}

int execute(PyObject* module) {
  ModuleState& state = state_of_module(module);
  const bool added = add_error_types(state, module) && add_symbol_kind(state, module) &&
                     add_record_types(state, module) && add_engine_type(state, module) &&
                     add_parse_many_type(state, module) && add_answer_types(state, module) &&
                     add_index_type(state, module) && add_constants(module) &&
                     add_public_names(module);
  if (!added) return -1;
  install_log_sink();
  wait_for_calls_at_end();
  return 0;
}

// Calls `visit` for each member of the state.
template <typename Visit>
int for_each_member(ModuleState& state, Visit visit) {
  const auto visit_all = [&visit](auto*&... members) {
    int status = 0;
    (void)((status == 0 && (status = visit(members), true)) && ...);
    return status;
  };
  for (PyObject*& kind : state.kinds) {
    if (const int status = visit(kind)) return status;
  }
  for (PyObject*& engine : state.process_engines) {
    if (const int status = visit(engine)) return status;
  }
  return visit_all(state.symbol, state.reference_info, state.parse_result, state.language_info,
                   state.engine, state.parse_many, state.result_limit_error, state.parse_error,
                   state.symbol_kind, state.logger, state.definition, state.candidate, state.use,
                   state.answer, state.change, state.language_count, state.statistics, state.index,
                   state.repository_index_error);
}

int traverse(PyObject* module, visitproc visit, void* arg) {
  return for_each_member(state_of_module(module), [&](auto*& member) {
    Py_VISIT(member);
    return 0;
  });
}

int clear(PyObject* module) {
  return for_each_member(state_of_module(module), [](auto*& member) {
    Py_CLEAR(member);
    return 0;
  });
}

void free(void* module) { clear(static_cast<PyObject*>(module)); }

PyModuleDef_Slot slots[] = {
    {Py_mod_exec, reinterpret_cast<void*>(execute)},
#if PY_VERSION_HEX >= 0x030C0000
    // What is global is made for any threads, and no GIL guards it.
    {Py_mod_multiple_interpreters, Py_MOD_PER_INTERPRETER_GIL_SUPPORTED},
#endif
    {0, nullptr},
};

constexpr const char DOC[] =
    "Source-code parsing engine for code indexers, on tree-sitter.\n\n"
    "    import treesitter\n\n"
    "    engine = treesitter.TreeSitterEngine()\n"
    "    result = engine.parse_file('src/app/models.py')\n"
    "    for symbol in result.symbols:\n"
    "        print(symbol.fqn, symbol.start_line)\n\n"
    "Log records go to logging.getLogger('engines.treesitter').";

PyModuleDef definition = {
    .m_base = PyModuleDef_HEAD_INIT,
    .m_name = "treesitter",
    .m_doc = DOC,
    .m_size = sizeof(ModuleState),
    .m_methods = module_functions,
    .m_slots = slots,
    .m_traverse = traverse,
    .m_clear = clear,
    .m_free = free,
};

}  // namespace
}  // namespace engines::treesitter::python

PyMODINIT_FUNC PyInit_treesitter() {
  return PyModuleDef_Init(&engines::treesitter::python::definition);
}
