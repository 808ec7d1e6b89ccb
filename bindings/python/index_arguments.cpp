// See index_arguments.h.
#include "bindings/python/index_arguments.h"

#include <algorithm>
#include <cstdint>
#include <iterator>

#include "bindings/python/texts.h"
#include "engines/languages/languages.h"
#include "models/symbol.h"

namespace engines::treesitter::python {
namespace {

constexpr std::size_t DEFAULT_LIMIT = 100;

// In the order of Match.
constexpr const char* MATCHES[] = {"exact", "prefix", "substring", "fuzzy"};

bool is_given(PyObject* object) { return object != nullptr && object != Py_None; }

bool language_from(PyObject* object, repository::Filter& filter) {
  if (!is_given(object)) return true;
  if (!index_text_from(object, "language", filter.language.emplace())) return false;
  const auto names = languages::language_names();
  if (std::find(names.begin(), names.end(), *filter.language) != names.end()) return true;
  PyErr_Format(PyExc_ValueError, "unknown language %R; language_names() lists them", object);
  return false;
}

bool limit_from(PyObject* object, repository::Filter& filter) {
  if (object == nullptr) filter.limit = DEFAULT_LIMIT;
  if (!is_given(object)) return true;
  if (!PyLong_Check(object)) {
    PyErr_Format(PyExc_TypeError, "limit must be int or None, not %.200s",
                 Py_TYPE(object)->tp_name);
    return false;
  }
  int overflow = 0;
  const long long limit = PyLong_AsLongLongAndOverflow(object, &overflow);
  if (overflow < 0 || (overflow == 0 && limit < 1)) {
    PyErr_SetString(PyExc_ValueError, "limit must be at least 1, or None");
    return false;
  }
  if (overflow == 0) filter.limit = static_cast<std::size_t>(limit);
  return true;
}

}  // namespace

bool match_from(PyObject* object, repository::Match& match) {
  if (object == nullptr) return true;
  for (std::size_t i = 0; i < std::size(MATCHES); ++i) {
    if (!PyUnicode_Check(object) || PyUnicode_CompareWithASCIIString(object, MATCHES[i]) != 0) {
      continue;
    }
    match = static_cast<repository::Match>(i);
    return true;
  }
  PyErr_Format(PyUnicode_Check(object) ? PyExc_ValueError : PyExc_TypeError,
               "match must be 'exact', 'prefix', 'substring' or 'fuzzy', not %R", object);
  return false;
}

bool kind_from(PyObject* object, repository::Filter& filter) {
  if (!is_given(object)) return true;
  if (!index_text_from(object, "kind", filter.kind.emplace())) return false;
  if (models::kind_from_text(*filter.kind)) return true;
  PyErr_Format(PyExc_ValueError, "unknown symbol kind %R", object);
  return false;
}

bool filter_from(PyObject* const* objects, repository::Filter& filter) {
  if (is_given(objects[1]) && !path_from(objects[1], filter.glob.emplace())) return false;
  return language_from(objects[0], filter) && limit_from(objects[2], filter);
}

}  // namespace engines::treesitter::python
