// Translates a grammar's symbols and fields into the engine's, once per language.
//
// A symbol's node type is found by its text, after the renamings below. Building a Language takes
// about a tenth of a millisecond beside the rows of its parse table; walks then look nothing up by
// text.
//
// Tested by tests/languages_test.cpp.
#include "engines/languages/language.h"

#include <tree_sitter/api.h>

namespace engines::languages {
namespace {

struct Alias {
  std::string_view language;
  std::string_view grammar_text;
  std::string_view engine_text;
};

// The nodes that a grammar names otherwise than the rules do.
constexpr Alias ALIASES[] = {
    // Without these no Javadoc would be found.
    {"java", "line_comment", "comment"},
    {"java", "block_comment", "comment"},
    {"sql", "create_table", "create_table_statement"},
    {"sql", "create_index", "create_index_statement"},
    {"sql", "create_trigger", "create_trigger_statement"},
    {"sql", "create_function", "create_function_statement"},
    {"sql", "create_view", "create_view_statement"},
    {"sql", "create_materialized_view", "create_view_statement"},
    // The generic naming rule then finds `public.orders` and quoted names.
    {"sql", "object_reference", "name"},
    {"sql", "literal", "name"},
    // A DECLARE of PL/pgSQL declares variables, whatever the grammar calls it.
    {"sql", "function_declaration", "variable_declaration"},
};

// The grammars' names of the fields, in the order of Field.
constexpr std::string_view FIELD_NAMES[] = {"attribute",   "body", "function",
                                            "module_name", "name", "property"};
static_assert(std::size(FIELD_NAMES) == FIELD_COUNT);

// The core's symbol for text that did not parse. No grammar has as many symbols of its own.
constexpr std::uint16_t ERROR_SYMBOL = 65535;

std::string_view after_aliases(std::string_view language, std::string_view text) {
  for (const Alias& alias : ALIASES) {
    if (alias.language == language && alias.grammar_text == text) return alias.engine_text;
  }
  return text;
}

}  // namespace

Language::Language(std::string_view name, const TSLanguage* grammar)
    : _name(name), _grammar(*grammar) {
  const std::uint32_t count = ts_language_symbol_count(grammar);
  _type_names.reserve(count);
  _is_named.reserve(count);
  for (std::uint32_t symbol = 0; symbol < count; ++symbol) {
    const char* text = ts_language_symbol_name(grammar, static_cast<TSSymbol>(symbol));
    _type_names.push_back(after_aliases(name, text == nullptr ? "" : text));
    _node_types[symbol] = node_type_of(_type_names.back());
    _is_named.push_back(ts_language_symbol_type(grammar, static_cast<TSSymbol>(symbol)) ==
                        TSSymbolTypeRegular);
  }
  _node_types[ERROR_SYMBOL] = NodeType::error;
  for (std::size_t i = 0; i < FIELD_COUNT; ++i) _field_ids[i] = field_id(FIELD_NAMES[i]);
}

std::string_view Language::type_name(std::uint16_t symbol) const {
  if (symbol < _type_names.size()) return _type_names[symbol];
  return symbol == ERROR_SYMBOL ? node_type_text(NodeType::error) : std::string_view();
}

bool Language::is_named(std::uint16_t symbol) const {
  return symbol < _is_named.size() ? _is_named[symbol] : symbol == ERROR_SYMBOL;
}

std::vector<std::uint16_t> Language::symbols_of(std::string_view type) const {
  std::vector<std::uint16_t> symbols;
  for (std::uint16_t symbol = 0; symbol < symbol_count(); ++symbol) {
    const char* const own = ts_language_symbol_name(_grammar.grammar(), symbol);
    if (_type_names[symbol] == type || (own != nullptr && own == type)) symbols.push_back(symbol);
  }
  if (type == node_type_text(NodeType::error)) symbols.push_back(ERROR_SYMBOL);
  return symbols;
}

std::uint16_t Language::field_id(std::string_view name) const {
  return ts_language_field_id_for_name(_grammar.grammar(), name.data(),
                                       static_cast<std::uint32_t>(name.size()));
}

}  // namespace engines::languages
