// What the module is made of, as a dict.
//
// Tested by tests/python/test_module.py.
#include "bindings/python/errors.h"
#include "bindings/python/module_functions.h"
#include "bindings/python/owned.h"
#include "bindings/python/state.h"
#include "bindings/python/texts.h"
#include "engines/treesitter/treesitter.h"

namespace engines::treesitter::python {
namespace {

// A dict that is being filled. After a failure its error is set, and `release` gives null.
class Dict {
 public:
  Dict() : _dict(PyDict_New()) {}

  void add(std::string_view key, PyObject* made) {
    const Owned value(made);
    const Owned name(value && _dict ? to_str(key) : nullptr);
    if (!name || PyDict_SetItem(_dict.get(), name.get(), value.get()) != 0) _dict = Owned();
  }
  void add(std::string_view key, std::string_view text) { add(key, to_str(text)); }
  void add(std::string_view key, std::uint64_t number) {
    add(key, PyLong_FromUnsignedLongLong(number));
  }

  PyObject* release() { return _dict.release(); }

 private:
  Owned _dict;
};

PyObject* to_dict(const BuildPart& part) {
  Dict dict;
  dict.add("version", part.version);
  dict.add("digest", part.digest);
  return dict.release();
}

PyObject* to_dict(std::span<const languages::LanguageInfo> grammars) {
  Dict all;
  for (const auto& language : grammars) {
    Dict grammar;
    grammar.add("package", language.grammar_package);
    grammar.add("version", language.grammar_version);
    grammar.add("digest", language.grammar_digest);
    all.add(language.name, grammar.release());
  }
  return all.release();
}

PyObject* to_dict(const BuildGuards& guards) {
  Dict dict;
  dict.add("operations", guards.operations);
  dict.add("operations_per_kib", guards.operations_per_kib);
  dict.add("memory", guards.memory);
  dict.add("memory_per_byte", guards.memory_per_byte);
  dict.add("seconds", guards.seconds);
  dict.add("seconds_per_mib", guards.seconds_per_mib);
  dict.add("scanner_state", guards.scanner_state);
  dict.add("file", guards.file);
  return dict.release();
}

PyObject* to_list(std::span<const std::string_view> texts) {
  Owned list(PyList_New(0));
  for (const std::string_view text : texts) {
    const Owned item(list ? to_str(text) : nullptr);
    if (!item || PyList_Append(list.get(), item.get()) != 0) return nullptr;
  }
  return list.release();
}

}  // namespace

PyObject* build_info_dict(PyObject* module, PyObject* /*none*/) {
  return translating(state_of_module(module), []() -> PyObject* {
    const BuildInfo info = build_info();
    Dict dict;
    dict.add("digest", info.digest);
    dict.add("engine", to_dict(info.engine));
    dict.add("core", to_dict(info.core));
    dict.add("grammars", to_dict(info.grammars));
    dict.add("rules", to_list(info.rules));
    dict.add("guards", to_dict(info.guards));
    dict.add("unicode_of_text", info.unicode_of_text);
    dict.add("unicode_of_expressions", info.unicode_of_expressions);
    dict.add("compiler", info.compiler);
    return dict.release();
  });
}

}  // namespace engines::treesitter::python
