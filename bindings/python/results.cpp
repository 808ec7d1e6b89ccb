// See results.h.
//
// Converts a result in one pass with the GIL held, while other threads of Python wait.
//
// Cost: for each record one object, and one str for each text. What neighbouring records have in
// common is made once: line numbers, and the signature of a minified row.
#include "bindings/python/results.h"

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

// Keeps the object that was made last, for values that often repeat the one before.
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

class Conversion {
 public:
  Conversion(const ModuleState& state, Surrogates surrogates)
      : _state(state), _surrogates(surrogates) {}

  PyObject* symbol(models::Symbol symbol) {
    return record_of(
        _state.symbol,
        {optional_integer(symbol.id), _file_id.of(symbol.file_id, integer_object),
         text(symbol.name), Py_NewRef(kind_member(_state, symbol.kind)), text(symbol.fqn),
         _line.of(symbol.start_line, integer_object), _line.of(symbol.end_line, integer_object),
         symbol.signature ? repeated(_signature, std::move(*symbol.signature)) : none(),
         PyBool_FromLong(symbol.is_export), symbol.docstring ? text(*symbol.docstring) : none(),
         symbol.body_digest ? text(*symbol.body_digest) : none()});
  }

  PyObject* reference(ReferenceInfo reference) {
    return record_of(_state.reference_info,
                     {text(reference.name), _line.of(reference.line, integer_object),
                      repeated(_kind, std::move(reference.kind))});
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

// How many records are made between two looks for signals. Not more, since a record may have a name
// of a megabyte.
constexpr std::size_t RECORDS_PER_LOOK = 64;

// Looks for signals, unless `raised` already has what a handler raised. False with an error set
// when a handler raises and `raised` is null.
bool may_go_on(Owned* raised) {
  if ((raised != nullptr && *raised) || PyErr_CheckSignals() == 0) return true;
  if (raised != nullptr) *raised = Owned(take_error());
  return raised != nullptr;
}

// A list of what `convert` makes of each value, which it is given to keep: a new reference, or null
// with an error set.
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
  Owned record(new_record(state.parse_result));
  if (!record) return nullptr;
  Conversion conversion(state, surrogates);
  PyObject** const items = items_of(record.get());
  const auto to_symbol = [&](models::Symbol symbol) {
    return conversion.symbol(std::move(symbol));
  };
  const auto to_reference = [&](ReferenceInfo reference) {
    return conversion.reference(std::move(reference));
  };
  const auto to_text = [&](const std::string& error) { return conversion.text(error); };
  const bool is_whole =
      ((items[0] = path_to_str(result.path, surrogates)) != nullptr &&
       (items[1] = conversion.text(result.language)) != nullptr &&
       (items[2] = conversion.text(result.content_hash)) != nullptr &&
       (items[3] = to_list(std::move(result.symbols), raised, to_symbol)) != nullptr &&
       (items[4] = to_list(std::move(result.references), raised, to_reference)) != nullptr &&
       (items[5] = to_list(std::move(result.errors), raised, to_text)) != nullptr);
  return is_whole ? record.release() : nullptr;
}

}  // namespace engines::treesitter::python
