// The records themselves: their fields, as tables, and the types made of these.
//
// Tested by tests/python/test_records.py.
#include <Python.h>
#include <structmember.h>

#include <array>
#include <limits>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>

#include "bindings/python/dataclass_face.h"
#include "bindings/python/errors.h"
#include "bindings/python/owned.h"
#include "bindings/python/records.h"
#include "bindings/python/symbol_kinds.h"
#include "models/symbol.h"

namespace engines::treesitter::python {
namespace {

// ---- Fields ----

constexpr Field REFERENCE_INFO_FIELDS[] = {
    {"name", FieldType::text, "the referenced name"},
    {"line", FieldType::integer, "1-based line of the referencing node's start"},
    {"kind", FieldType::text, "'call', 'import', 'import_module' or 'type'"},
};

constexpr Field SYMBOL_FIELDS[] = {
    {"id", FieldType::optional_integer, "the store's key; None until a store gives one"},
    {"file_id", FieldType::integer, "the store's key of the file, as given to the parse"},
    {"name", FieldType::text, "the declared name; may be empty"},
    {"kind", FieldType::kind, "what the symbol is, a SymbolKind"},
    {"fqn", FieldType::text, "dotted: the path's prefix, the enclosing symbols, the name"},
    {"start_line", FieldType::integer, "1-based first line"},
    {"end_line", FieldType::integer, "1-based last line"},
    {"signature", FieldType::optional_text, "the first line, trimmed, at most 200 characters"},
    {"is_export", FieldType::boolean, "whether it is visible outside its file"},
    {"docstring", FieldType::optional_text, "its documentation, at most 500 characters"},
    {"body_digest", FieldType::optional_text,
     "the body's lines with control flow or calls, at most 800 characters"},
};
static_assert(std::size(SYMBOL_FIELDS) == MOST_FIELDS);

constexpr Field PARSE_RESULT_FIELDS[] = {
    {"path", FieldType::text, "the path as given, as os.fsdecode shows it"},
    {"language", FieldType::text, "the language name under which the file was parsed"},
    {"content_hash", FieldType::text, "SHA-256 of the bytes in hexadecimal; '' when unreadable"},
    {"symbols", FieldType::list_of_symbols, "an enclosing symbol before those nested in it"},
    {"references", FieldType::list_of_references, "in document order"},
    {"errors", FieldType::list_of_texts, "what went wrong, in the order in which it arose"},
};

constexpr Field LANGUAGE_INFO_FIELDS[] = {
    {"name", FieldType::text, "the language name"},
    {"grammar_package", FieldType::text, "the npm package that the grammar comes from"},
    {"grammar_version", FieldType::text, "the version of that package"},
    {"file_names", FieldType::tuple_of_texts, "exact file names that mean this language"},
    {"suffixes", FieldType::tuple_of_texts, "lower case, with their leading full stop"},
};

// ---- What a Symbol rejects ----

// A line as the model holds it; whatever is less than 1 becomes 0, which the model rejects.
bool line_from(PyObject* object, const char* name, std::uint32_t& line) {
  int overflow = 0;
  const long long value = PyLong_AsLongLongAndOverflow(object, &overflow);
  if (overflow > 0 || value > std::numeric_limits<std::uint32_t>::max()) {
    PyErr_Format(PyExc_ValueError, "%s is too large", name);
    return false;
  }
  line = value < 1 ? 0 : static_cast<std::uint32_t>(value);
  return true;
}

// The model itself judges, so that there is one rule.
bool accepts_symbol(PyObject* const* items) {
  models::SymbolArguments arguments{.id = std::nullopt,
                                    .file_id = 0,
                                    .name = {},
                                    .kind = "class",  // a SymbolKind already
                                    .fqn = {},
                                    .start_line = 0,
                                    .end_line = 0,
                                    .signature = std::nullopt,
                                    .is_export = false,
                                    .docstring = std::nullopt,
                                    .body_digest = std::nullopt};
  if (!line_from(items[5], "start_line", arguments.start_line) ||
      !line_from(items[6], "end_line", arguments.end_line)) {
    return false;
  }
  try {
    const models::Symbol judged(std::move(arguments));
    return true;
  } catch (const std::invalid_argument& fault) {
    PyErr_SetString(PyExc_ValueError, fault.what());
    return false;
  }
}

// ---- The records ----

constexpr RecordSpec REFERENCE_INFO = {
    .name = "ReferenceInfo",
    .qualified_name = "treesitter.ReferenceInfo",
    .doc =
        "ReferenceInfo(name, line, kind)\n--\n\n"
        "A reference to another symbol found during parsing.",
    .fields = REFERENCE_INFO_FIELDS,
    .is_collected = false,
    .accepts = nullptr,
};

constexpr RecordSpec SYMBOL = {
    .name = "Symbol",
    .qualified_name = "treesitter.Symbol",
    .doc =
        "Symbol(id, file_id, name, kind, fqn, start_line, end_line, signature, is_export, "
        "docstring, body_digest)\n--\n\n"
        "One declaration of a source file.\n\n"
        "Rejected with ValueError, in a new symbol and when a field is set: a kind that is none "
        "of\n"
        "the nine, lines that are not 1-based or run backwards.",
    .fields = SYMBOL_FIELDS,
    .is_collected = false,
    .accepts = accepts_symbol,
};

constexpr RecordSpec PARSE_RESULT = {
    .name = "ParseResult",
    .qualified_name = "treesitter.ParseResult",
    .doc =
        "ParseResult(path, language, content_hash, symbols, references, errors)\n--\n\n"
        "Result of parsing a source file. It belongs to the caller.",
    .fields = PARSE_RESULT_FIELDS,
    .is_collected = true,
    .accepts = nullptr,
};

constexpr RecordSpec LANGUAGE_INFO = {
    .name = "LanguageInfo",
    .qualified_name = "treesitter.LanguageInfo",
    .doc =
        "LanguageInfo(name, grammar_package, grammar_version, file_names, suffixes)\n--\n\n"
        "What one language consists of.",
    .fields = LANGUAGE_INFO_FIELDS,
    .is_collected = false,
    .accepts = nullptr,
};

// ---- Their types ----

// The slots that need to know the fields' names.
template <const RecordSpec& SPEC>
struct Slots {
  static PyObject* make(PyTypeObject* type, PyObject* arguments, PyObject* keywords) {
    const auto& state = *static_cast<ModuleState*>(PyType_GetModuleState(type));
    return translating(state, [&] { return make_record(SPEC, type, arguments, keywords); });
  }

  static PyObject* repr(PyObject* self) { return repr_of_record(SPEC, self); }

  static PyObject* get(PyObject* self, void* field) {
    return Py_NewRef(items_of(self)[static_cast<const Field*>(field) - SPEC.fields.data()]);
  }

  static int set(PyObject* self, PyObject* value, void* field) {
    return set_field(SPEC, self, *static_cast<const Field*>(field), value);
  }

  // Python's tables are not const.
  static inline constinit auto accessors = [] {
    std::array<PyGetSetDef, SPEC.fields.size() + 1> rows{};
    for (std::size_t i = 0; i < SPEC.fields.size(); ++i) {
      const Field& field = SPEC.fields[i];
      rows[i] = {field.name, get, set, field.doc, const_cast<Field*>(&field)};
    }
    return rows;
  }();
};

PyMethodDef record_methods[] = {
    {"__reduce__", reduce_record, METH_NOARGS, "Pickled as its type and its fields."},
    {nullptr, nullptr, 0, nullptr},
};

template <const RecordSpec& SPEC>
PyTypeObject* new_type(PyObject* module) {
  constexpr std::size_t SIZE = record_size(SPEC.fields.size());
  PyMemberDef members[] = {
      {"__weaklistoffset__", T_PYSSIZET, SIZE - sizeof(PyObject*), READONLY, nullptr},
      {nullptr, 0, 0, 0, nullptr},
  };
  PyType_Slot slots[] = {
      {Py_tp_doc, const_cast<char*>(SPEC.doc)},
      {Py_tp_new, reinterpret_cast<void*>(&Slots<SPEC>::make)},
      {Py_tp_dealloc, reinterpret_cast<void*>(deallocate_record)},
      {Py_tp_repr, reinterpret_cast<void*>(&Slots<SPEC>::repr)},
      {Py_tp_richcompare, reinterpret_cast<void*>(compare_records)},
      {Py_tp_hash, reinterpret_cast<void*>(PyObject_HashNotImplemented)},
      {Py_tp_getset, Slots<SPEC>::accessors.data()},
      {Py_tp_methods, record_methods},
      {Py_tp_members, members},
      {SPEC.is_collected ? Py_tp_traverse : 0, reinterpret_cast<void*>(traverse_record)},
      {Py_tp_clear, reinterpret_cast<void*>(clear_record)},
      {0, nullptr},
  };
  PyType_Spec spec = {
      .name = SPEC.qualified_name,
      .basicsize = static_cast<int>(SIZE),
      .itemsize = 0,
      .flags = Py_TPFLAGS_DEFAULT | (SPEC.is_collected ? Py_TPFLAGS_HAVE_GC : 0),
      .slots = slots,
  };
  return reinterpret_cast<PyTypeObject*>(PyType_FromModuleAndSpec(module, &spec, nullptr));
}

template <const RecordSpec& SPEC>
bool add_type(PyTypeObject*& type, PyObject* module) {
  type = new_type<SPEC>(module);
  return type != nullptr && add_dataclass_face(module, type, SPEC) &&
         PyModule_AddType(module, type) == 0;
}

}  // namespace

bool add_record_types(ModuleState& state, PyObject* module) {
  return add_type<REFERENCE_INFO>(state.reference_info, module) &&
         add_type<SYMBOL>(state.symbol, module) &&
         add_type<PARSE_RESULT>(state.parse_result, module) &&
         add_type<LANGUAGE_INFO>(state.language_info, module);
}

}  // namespace engines::treesitter::python
