// The engine object: the storage of each thread, and its parser for each language.
//
// Tested by tests/engine_test.cpp.
#include "engines/languages/language.h"
#include "engines/languages/languages.h"
#include "engines/treesitter/core/thread_storage.h"
#include "engines/treesitter/navigation/grammar_rows.h"
#include "engines/treesitter/parsing/parser.h"
#include "engines/treesitter/treesitter.h"

namespace engines::treesitter {

TreeSitterEngine::TreeSitterEngine(Rules rules)
    : _rules(rules), _local(std::make_unique<ThreadLocal>()) {}

TreeSitterEngine::~TreeSitterEngine() = default;

bool TreeSitterEngine::_navigates(std::string_view language) const {
  return _rules == Rules::navigation && is_navigated(language);
}

ThreadStorage& TreeSitterEngine::_get_thread_local_storage() const { return _local->get(); }

// A missing grammar is not remembered: each request asks the registry again and logs it again.
Parser* TreeSitterEngine::_get_parser(std::string_view language) const {
  ParserCache& parsers = _get_thread_local_storage().parsers;
  if (const auto found = parsers.find(language); found != parsers.end()) return &found->second;
  const languages::Language* const grammar = languages::get_language(language);
  if (grammar == nullptr) {
    log(LogLevel::debug, "No tree-sitter grammar available for language=%s", {language});
    return nullptr;
  }
  return &parsers.try_emplace(std::string(language), *grammar).first->second;
}

}  // namespace engines::treesitter
