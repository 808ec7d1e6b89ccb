// The records of a parse: their fields, as tables, and their types.
//
// Tested by tests/python/test_records.py.
#include <Python.h>

#include <limits>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>

#include "bindings/python/record_type.h"
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

// A line as the model holds it. What is less than 1 becomes 0, which the model rejects.
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

// The model judges, so that the rule stands in one place.
bool accepts_symbol(PyObject* const* items) {
  models::SymbolArguments arguments{.id = std::nullopt,
                                    .file_id = 0,
                                    .name = {},
                                    .kind = "class",  // any: the field's type has judged it
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

}  // namespace

bool add_record_types(ModuleState& state, PyObject* module) {
  return add_record_type<REFERENCE_INFO>(state.reference_info, module) &&
         add_record_type<SYMBOL>(state.symbol, module) &&
         add_record_type<PARSE_RESULT>(state.parse_result, module) &&
         add_record_type<LANGUAGE_INFO>(state.language_info, module);
}

}  // namespace engines::treesitter::python
