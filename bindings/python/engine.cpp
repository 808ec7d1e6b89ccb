// See engine.h.
//
// Each TreeSitterEngine object has an engine of its own, with parsers for each thread. All
// unpickled ones of the same rules are one object: a task that is sent to another process brings
// its engine with it, and a new engine for each task would have to make its parsers again.
#include "bindings/python/engine.h"

#include <Python.h>
#include <structmember.h>

#include <array>
#include <cstddef>
#include <new>
#include <optional>
#include <utility>

#include "bindings/python/arguments.h"
#include "bindings/python/errors.h"
#include "bindings/python/items.h"
#include "bindings/python/outcome.h"
#include "bindings/python/owned.h"
#include "bindings/python/parse_many.h"

namespace engines::treesitter::python {
namespace {

struct EngineObject {
  PyObject_HEAD std::shared_ptr<const TreeSitterEngine> engine;
  PyObject* weak_references;
};

// In the order of Rules.
constexpr const char* RULES_NAMES[] = {"standard", "navigation"};

// The rules of that name, by default the standard ones; none with an error set.
std::optional<Rules> rules_named(PyObject* name) {
  if (name == nullptr) return Rules::standard;
  for (std::size_t i = 0; i < std::size(RULES_NAMES); ++i) {
    if (PyUnicode_Check(name) && PyUnicode_CompareWithASCIIString(name, RULES_NAMES[i]) == 0) {
      return static_cast<Rules>(i);
    }
  }
  PyErr_Format(PyUnicode_Check(name) ? PyExc_ValueError : PyExc_TypeError,
               "rules must be 'standard' or 'navigation', not %R", name);
  return std::nullopt;
}

const char* rules_name(PyObject* self) {
  return RULES_NAMES[static_cast<std::size_t>(engine_of(self)->rules())];
}

PyObject* get_rules(PyObject* self, void* /*none*/) {
  return PyUnicode_FromString(rules_name(self));
}

PyObject* make(PyTypeObject* type, PyObject* arguments, PyObject* keywords) {
  static constexpr const char* NAMES[] = {"rules"};
  std::array<PyObject*, std::size(NAMES)> values{};
  if (!bind_arguments({"TreeSitterEngine", NAMES, 0}, arguments, keywords, values)) return nullptr;
  const std::optional<Rules> rules = rules_named(values[0]);
  if (!rules) return nullptr;
  const auto& state = *static_cast<ModuleState*>(PyType_GetModuleState(type));
  return translating(state, [type, rules]() -> PyObject* {
    auto engine = std::make_shared<const TreeSitterEngine>(*rules);
    auto* const self = reinterpret_cast<EngineObject*>(type->tp_alloc(type, 0));
    if (self == nullptr) return nullptr;
    new (&self->engine) std::shared_ptr<const TreeSitterEngine>(std::move(engine));
    return reinterpret_cast<PyObject*>(self);
  });
}

void deallocate(PyObject* self) {
  PyTypeObject* const type = Py_TYPE(self);
  PyObject_ClearWeakRefs(self);
  std::destroy_at(&reinterpret_cast<EngineObject*>(self)->engine);
  type->tp_free(self);
  Py_DECREF(type);
}

PyObject* parse_file(PyObject* self, PyObject* const* arguments, Py_ssize_t count,
                     PyObject* keywords) {
  static constexpr const char* NAMES[] = {"file_path", "file_id", "language"};
  std::array<PyObject*, std::size(NAMES)> values{};
  if (!bind_arguments({"parse_file", NAMES, 1}, arguments, count, keywords, values)) return nullptr;
  ModuleState& state = state_of(self);
  return translating(state, [&]() -> PyObject* {
    Item item;
    if (!file_item(values[0], values[1], values[2], item)) return nullptr;
    return parse(state, engine_of(self), std::move(item));
  });
}

// parse_content and parse_bytes; `fill` makes the item.
PyObject* parse_given(PyObject* self, const char* function, decltype(text_item)& fill,
                      PyObject* const* arguments, Py_ssize_t count, PyObject* keywords) {
  static constexpr const char* NAMES[] = {"content", "language", "file_path", "file_id"};
  std::array<PyObject*, std::size(NAMES)> values{};
  if (!bind_arguments({function, NAMES, 3}, arguments, count, keywords, values)) return nullptr;
  ModuleState& state = state_of(self);
  return translating(state, [&]() -> PyObject* {
    Item item;
    if (!fill(values[0], values[1], values[2], values[3], item)) return nullptr;
    return parse(state, engine_of(self), std::move(item));
  });
}

PyObject* parse_content(PyObject* self, PyObject* const* arguments, Py_ssize_t count,
                        PyObject* keywords) {
  return parse_given(self, "parse_content", text_item, arguments, count, keywords);
}

PyObject* parse_bytes(PyObject* self, PyObject* const* arguments, Py_ssize_t count,
                      PyObject* keywords) {
  return parse_given(self, "parse_bytes", bytes_item, arguments, count, keywords);
}

PyObject* parse_many(PyObject* self, PyObject* const* arguments, Py_ssize_t count,
                     PyObject* keywords) {
  return new_parse_many(state_of(self), self, arguments, count, keywords);
}

PyObject* reduce(PyObject* self, PyObject* /*none*/) {
  const Owned module(Py_NewRef(PyType_GetModule(Py_TYPE(self))));
  const Owned function(PyObject_GetAttrString(module.get(), "_process_engine"));
  if (!function) return nullptr;
  // Without the argument for the standard rules, as in pickles that older versions have written.
  return engine_of(self)->rules() == Rules::standard
             ? Py_BuildValue("O()", function.get())
             : Py_BuildValue("O(s)", function.get(), rules_name(self));
}

// A copy would be no different.
PyObject* copy(PyObject* self, PyObject* /*memo*/) { return Py_NewRef(self); }

constexpr const char PARSE_FILE_DOC[] =
    "parse_file($self, /, file_path, file_id=0, language=None)\n--\n\n"
    "Parse a source file and extract symbols.\n\n"
    "file_path is a str, bytes or os.PathLike, file_id the caller's key of the file, which every\n"
    "symbol gets, and language the name of its language when the caller knows it better than the\n"
    "path tells. Gives a ParseResult, or None when the path tells no language; nothing is read\n"
    "then. A file that cannot be read or parsed gives a result that says so in its errors.\n\n"
    "Raises UnicodeDecodeError where a rule reads a name that is no UTF-8, ResultLimitError,\n"
    "MemoryError. Other threads run while the file is read and parsed. What the handler of a\n"
    "signal raises meanwhile, such as KeyboardInterrupt, ends the call.";

constexpr const char PARSE_CONTENT_DOC[] =
    "parse_content($self, /, content, language, file_path, file_id=0)\n--\n\n"
    "Parse source code content directly.\n\n"
    "content is the source text, language the name of its language, and file_path names the\n"
    "symbols and becomes the result's path as it is. Gives a ParseResult.\n\n"
    "Raises UnicodeEncodeError for a content with lone surrogates, ValueError for an empty path,\n"
    "and what parse_file raises.";

constexpr const char PARSE_BYTES_DOC[] =
    "parse_bytes($self, /, content, language, file_path, file_id=0)\n--\n\n"
    "Parse the bytes of a source file that are elsewhere, such as a blob of a repository.\n\n"
    "content is bytes or anything that has them, in UTF-8 for the most part; the other arguments\n"
    "are as in parse_content. Gives a ParseResult. Raises what parse_file raises, and ValueError\n"
    "for an empty path.";

constexpr const char PARSE_MANY_DOC[] =
    "parse_many($self, /, items, threads=None)\n--\n\n"
    "As the module's parse_many, with this engine.";

PyMethodDef methods[] = {
    {"parse_file", as_method(parse_file), METH_FASTCALL | METH_KEYWORDS, PARSE_FILE_DOC},
    {"parse_content", as_method(parse_content), METH_FASTCALL | METH_KEYWORDS, PARSE_CONTENT_DOC},
    {"parse_bytes", as_method(parse_bytes), METH_FASTCALL | METH_KEYWORDS, PARSE_BYTES_DOC},
    {"parse_many", as_method(parse_many), METH_FASTCALL | METH_KEYWORDS, PARSE_MANY_DOC},
    {"__copy__", copy, METH_NOARGS, "__copy__($self, /)\n--\n\nThe engine itself."},
    {"__deepcopy__", copy, METH_O, "__deepcopy__($self, memo, /)\n--\n\nThe engine itself."},
    {"__reduce__", reduce, METH_NOARGS, "Pickled as the engine of the process that unpickles it."},
    {nullptr, nullptr, 0, nullptr},
};

constexpr const char DOC[] =
    "TreeSitterEngine(rules='standard')\n--\n\n"
    "Tree-sitter based code parser for symbol extraction.\n\n"
    "rules is 'standard' or 'navigation': by the latter names come from the grammars' fields, "
    "every\n"
    "declaration counts, and a call is named by what is called.\n\n"
    "One engine serves any number of threads at once. Each thread has parsers of its own, made on\n"
    "first use and freed when the thread or the engine ends. An engine is its own copy; one that\n"
    "is pickled becomes the one engine of its rules in the process that unpickles it.";

PyGetSetDef properties[] = {
    {"rules", get_rules, nullptr, "The rules of every parse: 'standard' or 'navigation'.", nullptr},
    {nullptr, nullptr, nullptr, nullptr, nullptr},
};

PyMemberDef members[] = {
    {"__weaklistoffset__", T_PYSSIZET, offsetof(EngineObject, weak_references), READONLY, nullptr},
    {nullptr, 0, 0, 0, nullptr},
};

PyType_Slot slots[] = {
    {Py_tp_doc, const_cast<char*>(DOC)},
    {Py_tp_members, members},
    {Py_tp_getset, properties},
    {Py_tp_new, reinterpret_cast<void*>(make)},
    {Py_tp_dealloc, reinterpret_cast<void*>(deallocate)},
    {Py_tp_methods, methods},
    {0, nullptr},
};

PyType_Spec spec = {
    .name = "treesitter.TreeSitterEngine",
    .basicsize = sizeof(EngineObject),
    .itemsize = 0,
    .flags = Py_TPFLAGS_DEFAULT,
    .slots = slots,
};

}  // namespace

const std::shared_ptr<const TreeSitterEngine>& engine_of(PyObject* object) {
  return reinterpret_cast<EngineObject*>(object)->engine;
}

PyObject* process_engine(PyObject* module, PyObject* const* arguments, Py_ssize_t count) {
  const std::optional<Rules> rules = rules_named(count > 0 ? arguments[0] : nullptr);
  if (!rules) return nullptr;
  const auto index = static_cast<std::size_t>(*rules);
  ModuleState& state = state_of_module(module);
  PyObject*& engine = state.process_engines[index];
  if (engine == nullptr) {
    engine =
        PyObject_CallFunction(reinterpret_cast<PyObject*>(state.engine), "s", RULES_NAMES[index]);
  }
  return Py_XNewRef(engine);
}

bool add_engine_type(ModuleState& state, PyObject* module) {
  state.engine = reinterpret_cast<PyTypeObject*>(PyType_FromModuleAndSpec(module, &spec, nullptr));
  return state.engine != nullptr && PyModule_AddType(module, state.engine) == 0;
}

}  // namespace engines::treesitter::python
