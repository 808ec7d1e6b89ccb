// See module_functions.h.
#include "bindings/python/module_functions.h"

#include <string>

#include "bindings/python/arguments.h"
#include "bindings/python/engine.h"
#include "bindings/python/errors.h"
#include "bindings/python/owned.h"
#include "bindings/python/parse_many.h"
#include "bindings/python/records.h"
#include "bindings/python/state.h"
#include "bindings/python/texts.h"
#include "engines/languages/languages.h"
#include "engines/treesitter/treesitter.h"

namespace engines::treesitter::python {
namespace {

// ---- Languages ----

PyObject* detect_language(PyObject* module, PyObject* const* arguments, Py_ssize_t count,
                          PyObject* keywords) {
  static constexpr const char* NAMES[] = {"file_path"};
  PyObject* value = nullptr;
  if (!bind_arguments({"detect_language", NAMES, 1}, arguments, count, keywords, {&value, 1})) {
    return nullptr;
  }
  return translating(state_of_module(module), [value]() -> PyObject* {
    std::string path;
    if (!path_text_from(value, path)) return nullptr;
    const auto language = languages::detect_language(path);
    return language ? to_str(*language) : Py_NewRef(Py_None);
  });
}

// to_str as a value, which an overloaded function is not.
constexpr auto as_str = [](std::string_view text) { return to_str(text); };

PyObject* language_names(PyObject* /*module*/, PyObject* /*none*/) {
  return tuple_of(languages::language_names(), as_str);
}

PyObject* to_record(const ModuleState& state, const languages::LanguageInfo& info) {
  return record_of(state.language_info,
                   {to_str(info.name), to_str(info.grammar_package), to_str(info.grammar_version),
                    tuple_of(info.file_names, as_str), tuple_of(info.suffixes, as_str)});
}

PyObject* language_infos(PyObject* module, PyObject* /*none*/) {
  const ModuleState& state = state_of_module(module);
  return tuple_of(languages::language_infos(),
                  [&](const auto& info) { return to_record(state, info); });
}

PyObject* core_version(PyObject* /*module*/, PyObject* /*none*/) {
  return to_str(languages::core_version());
}

// ---- Many files ----

PyObject* parse_many(PyObject* module, PyObject* const* arguments, Py_ssize_t count,
                     PyObject* keywords) {
  const Owned engine(process_engine(module, nullptr, 0));
  if (!engine) return nullptr;
  return new_parse_many(state_of_module(module), engine.get(), arguments, count, keywords);
}

// ---- Text helpers ----

PyObject* truncate_docstring(PyObject* module, PyObject* object) {
  if (object == Py_None) return Py_BuildValue("OO", Py_None, Py_False);
  return translating(state_of_module(module), [object]() -> PyObject* {
    std::string text;
    if (!any_text_from(object, "text", text)) return nullptr;
    const auto [kept, is_cut] = _truncate_docstring(text);
    return Py_BuildValue("NN", to_str(kept, Surrogates::are_encoded), PyBool_FromLong(is_cut));
  });
}

PyObject* strip_matching_quotes(PyObject* module, PyObject* object) {
  return translating(state_of_module(module), [object]() -> PyObject* {
    std::string text;
    if (!any_text_from(object, "text", text)) return nullptr;
    return to_str(_strip_matching_quotes(text), Surrogates::are_encoded);
  });
}

// `node`: of any binding of tree-sitter, with an attribute `text` that is bytes or None.
PyObject* node_text(PyObject* /*module*/, PyObject* node) {
  const Owned text(PyObject_GetAttrString(node, "text"));
  if (!text) return nullptr;
  if (text.get() == Py_None) Py_RETURN_NONE;
  char* bytes = nullptr;
  Py_ssize_t size = 0;
  if (PyBytes_AsStringAndSize(text.get(), &bytes, &size) != 0) return nullptr;
  if (size == 0) Py_RETURN_NONE;
  return PyUnicode_DecodeUTF8(bytes, size, nullptr);
}

// The expression as Python's re takes it; the engine has its own form of it (text/regex.cpp).
constexpr const char BODY_DIGEST_PATTERN[] =
    R"(\b(if|elif|else|for|while|do|switch|case|match|try|except|catch|finally|with|return|yield)"
    R"(|raise|throw|assert|await|defer|go|select|break|continue|guard)\b|\w+\s*\()";

// The module's __getattr__. _BODY_DIGEST_RE is made when somebody asks for it: importing re with
// the module would cost as much as the rest of the import.
PyObject* late_attribute(PyObject* module, PyObject* name) {
  if (!PyUnicode_Check(name) || PyUnicode_CompareWithASCIIString(name, "_BODY_DIGEST_RE") != 0) {
    PyErr_Format(PyExc_AttributeError, "module 'treesitter' has no attribute %R", name);
    return nullptr;
  }
  const Owned re(PyImport_ImportModule("re"));
  const Owned compiled(re ? PyObject_CallMethod(re.get(), "compile", "s", BODY_DIGEST_PATTERN)
                          : nullptr);
  if (!compiled || PyObject_SetAttr(module, name, compiled.get()) != 0) return nullptr;
  return Py_NewRef(compiled.get());
}

}  // namespace

// In the order in which help() is to show them.
PyMethodDef module_functions[] = {
    {"parse_many", as_method(parse_many), METH_FASTCALL | METH_KEYWORDS,
     "parse_many($module, /, items, threads=None)\n--\n\n"
     "Parse files and contents on several threads; an iterator over their results in the order of\n"
     "items.\n\n"
     "Each item is a path (str, bytes or os.PathLike), a tuple (path, file_id), or a tuple of the\n"
     "arguments of parse_content or parse_bytes: (content, language, path) with or without a\n"
     "file_id behind, where content is str or bytes and their like. Items are read as the work\n"
     "proceeds: at most 16 for each thread are ahead of the results. threads is by default the\n"
     "number of processors that this process may use.\n\n"
     "Each result is what parse_file and its like would give, a ParseResult or None. Where they\n"
     "would raise for one file there is a result too, whose errors hold the exception's name and\n"
     "text. What items itself raises comes at its place, after the results of the items before "
     "it,\n"
     "and so does TypeError for what is no item.\n\n"
     "The iterator is a context manager too. Leaving it, close() and dropping it cancel what is\n"
     "being parsed and end the threads."},
    {"detect_language", as_method(detect_language), METH_FASTCALL | METH_KEYWORDS,
     "detect_language($module, /, file_path)\n--\n\n"
     "The name of the language of the file at that path, or None; the file is not read."},
    {"language_names", language_names, METH_NOARGS,
     "language_names($module, /)\n--\n\nThe names of all languages."},
    {"language_infos", language_infos, METH_NOARGS,
     "language_infos($module, /)\n--\n\n"
     "What each language consists of: a LanguageInfo with its grammar, the grammar's version, and\n"
     "the file names and suffixes that mean it. In the order of language_names()."},
    {"core_version", core_version, METH_NOARGS,
     "core_version($module, /)\n--\n\nThe version of the tree-sitter core."},
    {"build_info", build_info_dict, METH_NOARGS,
     "build_info($module, /)\n--\n\n"
     "What this build is made of, as a dict of texts and numbers: the versions and digests of "
     "engine,\n"
     "core and grammars, the rules, the bounds of a parse. Records of two builds are the same "
     "where\n"
     "its 'digest' is; 'compiler' alone is not in it."},
    {"_truncate_docstring", truncate_docstring, METH_O,
     "_truncate_docstring($module, text, /)\n--\n\n"
     "The text, cut to MAX_DOCSTRING_LENGTH characters, and whether it was cut. None stays None."},
    {"_node_text", node_text, METH_O,
     "_node_text($module, node, /)\n--\n\nDecode a tree-sitter node's text as UTF-8."},
    {"_strip_matching_quotes", strip_matching_quotes, METH_O,
     "_strip_matching_quotes($module, text, /)\n--\n\n"
     "Remove a matching pair of surrounding single or double quotes."},
    {"_process_engine", as_method(process_engine), METH_FASTCALL,
     "_process_engine($module, rules='standard', /)\n--\n\n"
     "The engine that unpickled engines of these rules are in this process."},
    {"__getattr__", late_attribute, METH_O,
     "__getattr__($module, name, /)\n--\n\nThe attributes that are made when first asked for."},
    {nullptr, nullptr, 0, nullptr},
};

}  // namespace engines::treesitter::python
