// The records of an index's answers: their fields, as tables, and their types.
//
// Fields have the names that they have in the objects which the tool prints
// (doc/schema/answer.json). Only a candidate differs: it holds its whole definition. The records
// are frozen, so that they have a hash.
//
// Tested by tests/python/test_index.py.
#include <Python.h>

#include <iterator>

#include "bindings/python/answers.h"
#include "bindings/python/record_type.h"

namespace engines::treesitter::python {
namespace {

constexpr Field DEFINITION_FIELDS[] = {
    {"path", FieldType::text, "from the root, as os.fsdecode shows it"},
    {"line", FieldType::integer, "1-based first line"},
    {"last_line", FieldType::integer, "1-based last line"},
    {"kind", FieldType::kind, "what the symbol is, a SymbolKind"},
    {"name", FieldType::text, "the declared name; may be empty"},
    {"fqn", FieldType::text, "dotted: the path's prefix, the enclosing symbols, the name"},
    {"language", FieldType::text, "of the file"},
    {"is_export", FieldType::boolean, "whether it is visible outside its file"},
    {"is_test", FieldType::boolean, "whether the file's path is that of a test"},
    {"signature", FieldType::optional_text, "the first line"},
    {"docstring", FieldType::optional_text, "its documentation"},
};
static_assert(std::size(DEFINITION_FIELDS) <= MOST_FIELDS);

constexpr Field CANDIDATE_FIELDS[] = {
    {"definition", FieldType::definition, "what the name may mean"},
    {"evidence", FieldType::tuple_of_texts, "what speaks for it, such as 'imported here'"},
};

constexpr Field USE_FIELDS[] = {
    {"path", FieldType::text, "from the root, as os.fsdecode shows it"},
    {"line", FieldType::integer, "1-based"},
    {"kind", FieldType::text, "'call', 'import', 'import_module' or 'type'"},
    {"name", FieldType::text, "the name that is used"},
    {"is_test", FieldType::boolean, "whether the file's path is that of a test"},
    {"within", FieldType::optional_definition,
     "the innermost symbol around the line; of callees() the one that was asked for"},
    {"candidates", FieldType::tuple_of_candidates, "the first of what the name may mean here"},
    {"candidate_count", FieldType::integer, "how many these are, listed or not"},
    {"definition_count", FieldType::integer, "how many definitions of the name were compared"},
    {"definitions_cut", FieldType::boolean, "whether there are more"},
};
static_assert(std::size(USE_FIELDS) <= MOST_FIELDS);

constexpr Field ANSWER_FIELDS[] = {
    {"rows", FieldType::tuple_of_rows, "what was found, in the order in which it is of use"},
    {"is_cut", FieldType::boolean, "whether there is more, or may be"},
};

constexpr Field CHANGE_FIELDS[] = {
    {"path", FieldType::text, "from the root, as os.fsdecode shows it"},
    {"change", FieldType::text, "'added', 'changed', 'removed' or 'unreadable'"},
    {"error", FieldType::optional_text, "of what is unreadable"},
};

constexpr Field LANGUAGE_COUNT_FIELDS[] = {
    {"language", FieldType::text, "the language name"},
    {"files", FieldType::integer, "how many files of it there are"},
    {"symbols", FieldType::integer, "how many symbols they have"},
};

constexpr Field STATISTICS_FIELDS[] = {
    {"root", FieldType::text, "the folder that paths start from"},
    {"database", FieldType::text, "the file of the index"},
    {"made_by", FieldType::text, "the versions and rules that made it"},
    {"is_complete", FieldType::boolean, "whether the last run came to its end"},
    {"bytes", FieldType::integer, "of the database"},
    {"failed", FieldType::integer, "how many files have an error"},
    {"languages", FieldType::tuple_of_languages, "in the order of their names"},
};

constexpr RecordSpec frozen(const char* name, const char* qualified_name, const char* doc,
                            std::span<const Field> fields) {
  return {.name = name,
          .qualified_name = qualified_name,
          .doc = doc,
          .fields = fields,
          .is_collected = false,
          .accepts = nullptr,
          .is_frozen = true};
}

constexpr RecordSpec DEFINITION =
    frozen("Definition", "treesitter.Definition",
           "Definition(path, line, last_line, kind, name, fqn, language, is_export, is_test, "
           "signature, docstring)\n--\n\n"
           "A symbol, as an index knows it.",
           DEFINITION_FIELDS);
constexpr RecordSpec CANDIDATE = frozen("Candidate", "treesitter.Candidate",
                                        "Candidate(definition, evidence)\n--\n\n"
                                        "A definition that a use may mean, and what speaks for it.",
                                        CANDIDATE_FIELDS);
constexpr RecordSpec USE =
    frozen("Use", "treesitter.Use",
           "Use(path, line, kind, name, is_test, within, candidates, candidate_count, "
           "definition_count, definitions_cut)\n--\n\n"
           "A line that refers to a name.\n\n"
           "Names are not resolved: several candidates are several, and none is chosen.",
           USE_FIELDS);
constexpr RecordSpec CHANGE =
    frozen("Change", "treesitter.Change",
           "Change(path, change, error)\n--\n\n"
           "What the next run of `treesitter-engine index` would do with a file.",
           CHANGE_FIELDS);
constexpr RecordSpec LANGUAGE_COUNT =
    frozen("LanguageCount", "treesitter.LanguageCount",
           "LanguageCount(language, files, symbols)\n--\n\nWhat an index has of a language.",
           LANGUAGE_COUNT_FIELDS);
constexpr RecordSpec STATISTICS =
    frozen("Statistics", "treesitter.Statistics",
           "Statistics(root, database, made_by, is_complete, bytes, failed, languages)\n--\n\n"
           "What an index holds.",
           STATISTICS_FIELDS);

constexpr RecordSpec ANSWER = {
    .name = "Answer",
    .qualified_name = "treesitter.Answer",
    .doc =
        "Answer(rows, is_cut)\n--\n\n"
        "What an index answers: a sequence of its rows, each a Definition or a Use, that knows\n"
        "whether a limit has left some out.",
    .fields = ANSWER_FIELDS,
    .is_collected = false,
    .accepts = nullptr,
    .is_frozen = true,
    .has_rows = true,
};

}  // namespace

bool add_answer_types(ModuleState& state, PyObject* module) {
  return add_record_type<DEFINITION>(state.definition, module) &&
         add_record_type<CANDIDATE>(state.candidate, module) &&
         add_record_type<USE>(state.use, module) && add_record_type<ANSWER>(state.answer, module) &&
         add_record_type<CHANGE>(state.change, module) &&
         add_record_type<LANGUAGE_COUNT>(state.language_count, module) &&
         add_record_type<STATISTICS>(state.statistics, module);
}

}  // namespace engines::treesitter::python
