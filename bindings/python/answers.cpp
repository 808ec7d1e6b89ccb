// See answers.h. An answer is converted in one pass, with the GIL held.
#include "bindings/python/answers.h"

#include <concepts>
#include <optional>
#include <string>

#include "bindings/python/records.h"
#include "bindings/python/symbol_kinds.h"
#include "bindings/python/texts.h"

namespace engines::treesitter::python {
namespace {

using repository::Pending;

PyObject* number(std::integral auto value) {
  return PyLong_FromLongLong(static_cast<long long>(value));
}

PyObject* flag(bool value) { return PyBool_FromLong(value); }

PyObject* text_or_none(const std::optional<std::string>& text) {
  return text ? to_str(*text) : Py_NewRef(Py_None);
}

PyObject* kind_of(const ModuleState& state, std::string_view text) {
  const auto kind = models::kind_from_text(text);
  return Py_NewRef(kind_member(state, kind.value_or(models::SymbolKind{})));
}

PyObject* row(const ModuleState& state, const repository::Definition& found) {
  return record_of(
      state.definition,
      {path_to_str(found.path), number(found.first), number(found.last), kind_of(state, found.kind),
       to_str(found.name), to_str(found.fqn), to_str(found.language), flag(found.is_export),
       flag(found.is_test), text_or_none(found.signature), text_or_none(found.doc)});
}

PyObject* candidate(const ModuleState& state, const repository::Candidate& found) {
  return record_of(state.candidate,
                   {row(state, found.definition),
                    tuple_of(found.evidence, [](std::string_view text) { return to_str(text); })});
}

PyObject* row(const ModuleState& state, const repository::Use& found) {
  const repository::Meanings& meanings = found.meanings;
  return record_of(
      state.use,
      {path_to_str(found.path), number(found.line), to_str(found.kind), to_str(found.name),
       flag(found.is_test), found.within ? row(state, *found.within) : Py_NewRef(Py_None),
       tuple_of(meanings.candidates, [&](const auto& each) { return candidate(state, each); }),
       number(meanings.count), number(meanings.definitions), flag(meanings.is_partial)});
}

template <typename Row>
PyObject* to_answer(const ModuleState& state, const repository::Answer<Row>& answer) {
  return record_of(state.answer,
                   {tuple_of(answer.rows, [&](const Row& found) { return row(state, found); }),
                    flag(answer.is_cut)});
}

const char* change_text(Pending kind) {
  switch (kind) {
    case Pending::added:
      return "added";
    case Pending::changed:
      return "changed";
    case Pending::removed:
      return "removed";
    case Pending::unreadable:
      break;
  }
  return "unreadable";
}

}  // namespace

PyObject* to_python(const ModuleState& state,
                    const repository::Answer<repository::Definition>& answer) {
  return to_answer(state, answer);
}

PyObject* to_python(const ModuleState& state, const repository::Answer<repository::Use>& answer) {
  return to_answer(state, answer);
}

PyObject* to_python(const ModuleState& state,
                    const std::vector<repository::PendingChange>& changes) {
  return tuple_of(changes, [&](const repository::PendingChange& change) {
    return record_of(state.change, {path_to_str(change.path), to_str(change_text(change.kind)),
                                    change.kind == Pending::unreadable ? to_str(change.error)
                                                                       : Py_NewRef(Py_None)});
  });
}

PyObject* to_python(const ModuleState& state, const repository::Statistics& statistics) {
  const auto language = [&](const repository::LanguageCount& count) {
    return record_of(state.language_count,
                     {to_str(count.language), number(count.files), number(count.symbols)});
  };
  return record_of(
      state.statistics,
      {path_to_str(statistics.root), path_to_str(statistics.database), to_str(statistics.made_by),
       flag(statistics.is_complete), number(statistics.bytes), number(statistics.failed),
       tuple_of(statistics.languages, language)});
}

}  // namespace engines::treesitter::python
