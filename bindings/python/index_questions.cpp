// The questions. Arguments are read and answers are converted with the GIL held; in between, a
// question runs without it, on a connection of its own (index_connections.h).
//
// Tested by tests/python/test_index.py.
#include <Python.h>

#include <array>
#include <cstddef>
#include <filesystem>
#include <iterator>
#include <optional>
#include <string>
#include <system_error>
#include <type_traits>
#include <vector>

#include "bindings/python/answers.h"
#include "bindings/python/arguments.h"
#include "bindings/python/errors.h"
#include "bindings/python/index.h"
#include "bindings/python/index_arguments.h"
#include "bindings/python/texts.h"
#include "index/questions.h"

namespace engines::treesitter::python {
namespace {

using repository::Filter;
using repository::Questions;

PyObject* give(const ModuleState& /*state*/, bool answer) { return PyBool_FromLong(answer); }

template <typename Answer>
PyObject* give(const ModuleState& state, const Answer& answer) {
  return to_python(state, answer);
}

template <typename Answer>
PyObject* give(const ModuleState& state, const std::optional<Answer>& answer) {
  return answer ? to_python(state, *answer) : Py_NewRef(Py_None);
}

// Asks the question and converts its answer; none becomes None. Null with an error set.
template <typename Question>
PyObject* ask(PyObject* self, Question question) {
  const auto connections =
      index_of(self).connections;  // a copy: another thread may close the Index
  if (!connections) {
    PyErr_SetString(PyExc_ValueError, "the Index is closed");
    return nullptr;
  }
  std::optional<std::invoke_result_t<Question, Questions&>> answer;
  const bool is_done = run_question([&](const repository::Poll& poll) {
    connections->ask(poll, [&](Questions& questions) { answer.emplace(question(questions)); });
  });
  return is_done ? give(state_of(self), *answer) : nullptr;
}

PyObject* find(PyObject* self, PyObject* const* arguments, Py_ssize_t count, PyObject* keywords) {
  static constexpr const char* NAMES[] = {"name", "match", "kind", "language", "within", "limit"};
  std::array<PyObject*, std::size(NAMES)> values{};
  if (!bind_arguments({"find", NAMES, 1, 1}, arguments, count, keywords, values)) return nullptr;
  return translating(state_of(self), [&]() -> PyObject* {
    repository::FindQuestion question;
    if (!index_text_from(values[0], NAMES[0], question.text) ||
        !match_from(values[1], question.match) || !kind_from(values[2], question.filter) ||
        !filter_from(&values[3], question.filter)) {
      return nullptr;
    }
    return ask(self, [&](Questions& questions) { return questions.find(question); });
  });
}

PyObject* search(PyObject* self, PyObject* const* arguments, Py_ssize_t count, PyObject* keywords) {
  static constexpr const char* NAMES[] = {"words", "kind", "language", "within", "limit"};
  std::array<PyObject*, std::size(NAMES)> values{};
  if (!bind_arguments({"search", NAMES, 1, 1}, arguments, count, keywords, values)) return nullptr;
  return translating(state_of(self), [&]() -> PyObject* {
    std::string words;
    Filter filter;
    if (!index_text_from(values[0], NAMES[0], words) || !kind_from(values[1], filter) ||
        !filter_from(&values[2], filter)) {
      return nullptr;
    }
    return ask(self, [&](Questions& questions) { return questions.search(words, filter); });
  });
}

// The questions about uses. `what`: the name of the first parameter.
template <auto QUESTION>
PyObject* uses(PyObject* self, const char* function, const char* what, PyObject* const* arguments,
               Py_ssize_t count, PyObject* keywords) {
  const std::array<const char*, 4> names = {what, "language", "within", "limit"};
  std::array<PyObject*, names.size()> values{};
  if (!bind_arguments({function, names, 1, 1}, arguments, count, keywords, values)) return nullptr;
  return translating(state_of(self), [&]() -> PyObject* {
    std::string text;
    Filter filter;
    if (!index_text_from(values[0], what, text) || !filter_from(&values[1], filter)) return nullptr;
    return ask(self, [&](Questions& questions) { return (questions.*QUESTION)(text, filter); });
  });
}

PyObject* callers(PyObject* self, PyObject* const* arguments, Py_ssize_t count,
                  PyObject* keywords) {
  return uses<&Questions::callers>(self, "callers", "name", arguments, count, keywords);
}

PyObject* callees(PyObject* self, PyObject* const* arguments, Py_ssize_t count,
                  PyObject* keywords) {
  return uses<&Questions::callees>(self, "callees", "fqn", arguments, count, keywords);
}

PyObject* references(PyObject* self, PyObject* const* arguments, Py_ssize_t count,
                     PyObject* keywords) {
  return uses<&Questions::references>(self, "references", "name", arguments, count, keywords);
}

PyObject* importers(PyObject* self, PyObject* const* arguments, Py_ssize_t count,
                    PyObject* keywords) {
  return uses<&Questions::importers>(self, "importers", "module", arguments, count, keywords);
}

// The path as the index has it. A relative one starts from the root, as in answers; of an absolute
// one links are followed.
std::string path_from_root(const std::string& path, const std::string& root) {
  const std::filesystem::path given(path);
  if (given.is_relative()) return given.lexically_normal().native();
  std::error_code error;
  const auto whole = std::filesystem::weakly_canonical(given, error);
  return (error ? given.lexically_normal() : whole).lexically_relative(root).native();
}

PyObject* outline(PyObject* self, PyObject* const* arguments, Py_ssize_t count,
                  PyObject* keywords) {
  static constexpr const char* NAMES[] = {"path"};
  PyObject* value = nullptr;
  if (!bind_arguments({"outline", NAMES, 1}, arguments, count, keywords, {&value, 1})) {
    return nullptr;
  }
  return translating(state_of(self), [&]() -> PyObject* {
    std::string path;
    if (!path_from(value, path)) return nullptr;
    path = path_from_root(path, index_of(self).names.root);
    return ask(self, [&](Questions& questions) { return questions.outline(path); });
  });
}

PyObject* changed(PyObject* self, PyObject* /*none*/) {
  return translating(state_of(self), [&] {
    return ask(self, [&](Questions& questions) {
      std::vector<repository::PendingChange> changes;
      questions.changed(
          [&](const repository::PendingChange& change) { changes.push_back(change); });
      return changes;
    });
  });
}

PyObject* stats(PyObject* self, PyObject* /*none*/) {
  return translating(state_of(self), [&] {
    return ask(self, [](Questions& questions) { return questions.statistics(); });
  });
}

PyObject* is_complete(PyObject* self, PyObject* /*none*/) {
  return translating(state_of(self), [&] {
    return ask(self, [](Questions& questions) { return questions.is_complete(); });
  });
}

PyObject* is_outdated(PyObject* self, PyObject* /*none*/) {
  return translating(state_of(self), [&] {
    return ask(self, [](Questions& questions) { return questions.is_outdated(); });
  });
}

// ---- The texts of help() ----

#define FILTERS                                                                                  \
  "language takes files of that language only, within paths that match a glob, or that lie "     \
  "below\n"                                                                                      \
  "folders which do ('src/*.ts', 'tests'). limit is the most rows, None for all; the answer's\n" \
  "is_cut says whether it left some out."

constexpr const char FIND_DOC[] =
    "find($self, /, name, *, match='exact', kind=None, language=None, within=None, "
    "limit=100)\n--\n\n"
    "Find definitions by name: an Answer of Definition.\n\n"
    "match is 'exact' (in upper or lower case), 'prefix', 'substring' or 'fuzzy', where each word\n"
    "of name begins a word of what is found. kind takes symbols of that kind only. " FILTERS;

constexpr const char SEARCH_DOC[] =
    "search($self, /, words, *, kind=None, language=None, within=None, limit=100)\n--\n\n"
    "Find definitions by words of their signature and documentation, all of which must be there:\n"
    "an Answer of Definition.\n\n"
    "Raises ValueError where there is no word. " FILTERS;

constexpr const char CALLERS_DOC[] =
    "callers($self, /, name, *, language=None, within=None, limit=100)\n--\n\n"
    "Find the calls of a name: an Answer of Use.\n\n" FILTERS;

constexpr const char CALLEES_DOC[] =
    "callees($self, /, fqn, *, language=None, within=None, limit=100)\n--\n\n"
    "Find what a symbol calls: an Answer of Use, or None when there is no such symbol.\n\n"
    "fqn is its qualified name, or the last components of it. " FILTERS;

constexpr const char REFERENCES_DOC[] =
    "references($self, /, name, *, language=None, within=None, limit=100)\n--\n\n"
    "Find whatever refers to a name: an Answer of Use.\n\n" FILTERS;

constexpr const char IMPORTERS_DOC[] =
    "importers($self, /, module, *, language=None, within=None, limit=100)\n--\n\n"
    "Find who imports a module: an Answer of Use.\n\n"
    "module is its name or path, or the last components of them. " FILTERS;

#undef FILTERS

constexpr const char OUTLINE_DOC[] =
    "outline($self, /, path)\n--\n\n"
    "The symbols of a file in document order: an Answer of Definition, or None when the index has\n"
    "no such file. A relative path starts from the root, as in answers.";

constexpr const char CHANGED_DOC[] =
    "changed($self, /)\n--\n\n"
    "What the next run of `treesitter-engine index` would do: a tuple of Change. Walks the\n"
    "repository, and reads the files that look changed.";

}  // namespace

PyMethodDef index_methods[] = {
    {"find", as_method(find), METH_FASTCALL | METH_KEYWORDS, FIND_DOC},
    {"callers", as_method(callers), METH_FASTCALL | METH_KEYWORDS, CALLERS_DOC},
    {"callees", as_method(callees), METH_FASTCALL | METH_KEYWORDS, CALLEES_DOC},
    {"references", as_method(references), METH_FASTCALL | METH_KEYWORDS, REFERENCES_DOC},
    {"importers", as_method(importers), METH_FASTCALL | METH_KEYWORDS, IMPORTERS_DOC},
    {"outline", as_method(outline), METH_FASTCALL | METH_KEYWORDS, OUTLINE_DOC},
    {"search", as_method(search), METH_FASTCALL | METH_KEYWORDS, SEARCH_DOC},
    {"changed", changed, METH_NOARGS, CHANGED_DOC},
    {"stats", stats, METH_NOARGS, "stats($self, /)\n--\n\nWhat the index holds: Statistics."},
    {"is_complete", is_complete, METH_NOARGS,
     "is_complete($self, /)\n--\n\nWhether the last run over the repository came to its end."},
    {"is_outdated", is_outdated, METH_NOARGS,
     "is_outdated($self, /)\n--\n\n"
     "Whether another version of the engine or of a grammar made it: the next run makes it anew."},
    {"close", close_index, METH_NOARGS,
     "close($self, /)\n--\n\n"
     "Close the index; further questions raise ValueError. One that is under way in another "
     "thread\n"
     "comes to its end."},
    {"__enter__", enter_index, METH_NOARGS, "__enter__($self, /)\n--\n\nThe index itself."},
    {"__exit__", as_method(leave_index), METH_FASTCALL,
     "__exit__($self, /, *exception)\n--\n\nClose the index."},
    {"__reduce__", reduce_index, METH_NOARGS, "Raises TypeError: an index is open in one process."},
    {nullptr, nullptr, 0, nullptr},
};

}  // namespace engines::treesitter::python
