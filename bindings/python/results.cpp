// One pass over the result, with the interpreter's lock held, so it is time that other threads
// wait: per record one object and one str for each text that is new.
//
// What neighbouring records share is made once: line numbers, and the signature of a minified row.
//
// Tested by tests/python/test_engine.py, against the tool's answers too.
#include "bindings/python/results.h"

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include "bindings/python/errors.h"
#include "bindings/python/owned.h"
#include "bindings/python/records.h"
#include "bindings/python/symbol_kinds.h"
#include "bindings/python/texts.h"

namespace engines::treesitter::python {
namespace {

// The object made last, for a value that often comes again at once.
template <typename Value>
class Memo {
 public:
  // A new reference to what `make` makes of the value, or null with an error set.
  template <typename Make>
  PyObject* of(Value value, Make make) {
    if (!_object || value != _value) {
      _object = Owned(make(value));
      _value = std::move(value);
    }
    return Py_XNewRef(_object.get());
  }

 private:
  Value _value{};
  Owned _object;
};

PyObject* integer_object(std::int64_t value) { return PyLong_FromLongLong(value); }

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
  Conversion(const ModuleState& state, Surrogates surrogates)
      : _state(state), _surrogates(surrogates) {}

  PyObject* symbol(models::Symbol symbol) {
    PyObject* const record = new_record(_state.symbol);
    if (record == nullptr) return nullptr;
    PyObject** const items = items_of(record);
    items[0] = optional_integer(symbol.id);
    items[1] = _file_id.of(symbol.file_id, integer_object);
    items[2] = text(symbol.name);
    items[3] = Py_NewRef(kind_member(_state, symbol.kind));
    items[4] = text(symbol.fqn);
    items[5] = _line.of(symbol.start_line, integer_object);
    items[6] = _line.of(symbol.end_line, integer_object);
    items[7] = symbol.signature ? repeated(_signature, std::move(*symbol.signature)) : none();
    items[8] = PyBool_FromLong(symbol.is_export);
    items[9] = symbol.docstring ? text(*symbol.docstring) : none();
    items[10] = symbol.body_digest ? text(*symbol.body_digest) : none();
    return complete(record, 11);
  }

  PyObject* reference(ReferenceInfo reference) {
    PyObject* const record = new_record(_state.reference_info);
    if (record == nullptr) return nullptr;
    PyObject** const items = items_of(record);
    items[0] = text(reference.name);
    items[1] = _line.of(reference.line, integer_object);
    items[2] = repeated(_kind, std::move(reference.kind));
    return complete(record, 3);
  }

  PyObject* text(std::string_view text) const { return to_str(text, _surrogates); }

 private:
  static PyObject* none() { return Py_NewRef(Py_None); }

  PyObject* repeated(Memo<std::string>& memo, std::string value) const {
    return memo.of(std::move(value), [this](std::string_view view) { return text(view); });
  }

  const ModuleState& _state;
  const Surrogates _surrogates;
  Memo<std::int64_t> _file_id;
  Memo<std::uint32_t> _line;
  Memo<std::string> _signature;
  Memo<std::string> _kind;
};

// How many records are made between two looks for signals. One may have a name of a megabyte.
constexpr std::size_t RECORDS_PER_LOOK = 64;

// Asks for signals while there is no answer in `raised`, which may be null; see to_python.
bool may_go_on(Owned* raised) {
  if ((raised != nullptr && *raised) || PyErr_CheckSignals() == 0) return true;
  if (raised != nullptr) *raised = Owned(take_error());
  return raised != nullptr;
}

// `convert` gives a new reference, or null with an error set, for a value that it may take apart.
template <typename Value, typename Convert>
PyObject* to_list(std::vector<Value> values, Owned* raised, Convert convert) {
  Owned list(PyList_New(static_cast<Py_ssize_t>(values.size())));
  for (std::size_t i = 0; list && i < values.size(); ++i) {
    if (i % RECORDS_PER_LOOK == 0 && !may_go_on(raised)) return nullptr;
    PyObject* const item = convert(std::move(values[i]));
    if (item == nullptr) return nullptr;
    PyList_SET_ITEM(list.get(), static_cast<Py_ssize_t>(i), item);
  }
  return list.release();
}

}  // namespace

PyObject* to_python(const ModuleState& state, ParseResult result, Surrogates surrogates,
                    Owned* raised) {
  PyObject* const record = new_record(state.parse_result);
  if (record == nullptr) return nullptr;
  Conversion conversion(state, surrogates);
  PyObject** const items = items_of(record);
  const auto to_symbol = [&](models::Symbol symbol) {
    return conversion.symbol(std::move(symbol));
  };
  const auto to_reference = [&](ReferenceInfo reference) {
    return conversion.reference(std::move(reference));
  };
  const auto to_text = [&](const std::string& error) { return conversion.text(error); };
  (void)((items[0] = path_to_str(result.path, surrogates)) != nullptr &&
         (items[1] = conversion.text(result.language)) != nullptr &&
         (items[2] = conversion.text(result.content_hash)) != nullptr &&
         (items[3] = to_list(std::move(result.symbols), raised, to_symbol)) != nullptr &&
         (items[4] = to_list(std::move(result.references), raised, to_reference)) != nullptr &&
         (items[5] = to_list(std::move(result.errors), raised, to_text)) != nullptr);
  return complete(record, 6);
}

}  // namespace engines::treesitter::python
