// One pass over the result, with the interpreter's lock held, so it is time that other threads
// wait: per record one object and one str for each text that is new.
//
// What neighbouring records share is made once: line numbers, and the signature of a minified row.
//
// Tested by tests/python/test_engine.py, against the tool's answers too.
#include "bindings/python/results.h"

#include <algorithm>
#include <array>

#include "bindings/python/owned.h"
#include "bindings/python/records.h"
#include "bindings/python/symbol_kinds.h"
#include "bindings/python/texts.h"

namespace engines::treesitter::python {
namespace {

// The object made last, for a value that often comes again at once.
template <typename Value, PyObject* (*MAKE)(Value)>
class Memo {
 public:
  // A new reference, or null with an error set. What a view points to must stay until the next
  // call.
  PyObject* of(Value value) {
    if (!_object || value != _value) {
      _object = Owned(MAKE(value));
      _value = value;
    }
    return Py_XNewRef(_object.get());
  }

 private:
  Value _value{};
  Owned _object;
};

PyObject* line_object(std::uint32_t line) { return PyLong_FromUnsignedLong(line); }
PyObject* integer_object(std::int64_t value) { return PyLong_FromLongLong(value); }

using LineMemo = Memo<std::uint32_t, line_object>;
using IntegerMemo = Memo<std::int64_t, integer_object>;
using TextMemo = Memo<std::string_view, to_str>;

PyObject* optional_str(const std::optional<std::string>& text) {
  return text ? to_str(*text) : Py_NewRef(Py_None);
}

PyObject* optional_integer(std::optional<std::int64_t> value) {
  return value ? integer_object(*value) : Py_NewRef(Py_None);
}

// The record, unless one of its fields could not be made.
PyObject* complete(PyObject* record, std::size_t count) {
  PyObject** const items = items_of(record);
  if (std::find(items, items + count, nullptr) == items + count) return record;
  Py_DECREF(record);
  return nullptr;
}

class Conversion {
 public:
  explicit Conversion(const ModuleState& state) : _state(state) {}

  PyObject* symbol(const models::Symbol& symbol) {
    PyObject* const record = new_record(_state.symbol);
    if (record == nullptr) return nullptr;
    PyObject** const items = items_of(record);
    items[0] = optional_integer(symbol.id);
    items[1] = _file_id.of(symbol.file_id);
    items[2] = to_str(symbol.name);
    items[3] = Py_NewRef(kind_member(_state, symbol.kind));
    items[4] = to_str(symbol.fqn);
    items[5] = _line.of(symbol.start_line);
    items[6] = _line.of(symbol.end_line);
    items[7] = symbol.signature ? _signature.of(*symbol.signature) : Py_NewRef(Py_None);
    items[8] = PyBool_FromLong(symbol.is_export);
    items[9] = optional_str(symbol.docstring);
    items[10] = optional_str(symbol.body_digest);
    return complete(record, 11);
  }

  PyObject* reference(const ReferenceInfo& reference) {
    PyObject* const record = new_record(_state.reference_info);
    if (record == nullptr) return nullptr;
    PyObject** const items = items_of(record);
    items[0] = to_str(reference.name);
    items[1] = _line.of(reference.line);
    items[2] = _kind.of(reference.kind);
    return complete(record, 3);
  }

 private:
  const ModuleState& _state;
  IntegerMemo _file_id;
  LineMemo _line;
  TextMemo _signature;
  TextMemo _kind;
};

template <typename Values, typename Convert>
PyObject* to_list(const Values& values, Convert convert) {
  Owned list(PyList_New(static_cast<Py_ssize_t>(values.size())));
  for (std::size_t i = 0; list && i < values.size(); ++i) {
    PyObject* const item = convert(values[i]);
    if (item == nullptr) return nullptr;
    PyList_SET_ITEM(list.get(), static_cast<Py_ssize_t>(i), item);
  }
  return list.release();
}

}  // namespace

PyObject* to_python(const ModuleState& state, const ParseResult& result) {
  PyObject* const record = new_record(state.parse_result);
  if (record == nullptr) return nullptr;
  Conversion conversion(state);
  PyObject** const items = items_of(record);
  items[0] = path_to_str(result.path);
  items[1] = to_str(result.language);
  items[2] = to_str(result.content_hash);
  items[3] = to_list(result.symbols, [&](const auto& symbol) { return conversion.symbol(symbol); });
  items[4] = to_list(result.references,
                     [&](const auto& reference) { return conversion.reference(reference); });
  items[5] = to_list(result.errors, [](const std::string& error) { return to_str(error); });
  return complete(record, 6);
}

}  // namespace engines::treesitter::python
