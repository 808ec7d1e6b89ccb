// Language: a grammar, with its node types and fields translated into the engine's.
//
// Grammars use symbol numbers and texts, the rules use NodeType and Field. A Language holds the
// translation. It is built when the language is first asked for, so that a walk pays one load per
// node. Two grammars name some nodes otherwise than the rules do; language.cpp renames these.
//
// Immutable once built, read by all threads and never destroyed (languages.h). Costs 64 KiB of
// address space, of which only the pages with the grammar's symbols and ERROR are touched, and the
// rows of the parse table (wide_grammar.h).
//
// Tested by tests/languages_test.cpp.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

#include "engines/languages/languages.h"
#include "engines/languages/node_types.h"
#include "engines/languages/wide_grammar.h"

struct TSLanguage;

namespace engines::languages {

// The fields that rules ask for by name.
enum class Field : std::uint8_t { attribute, body, function, module_name, name, property };
inline constexpr std::size_t FIELD_COUNT = static_cast<std::size_t>(Field::property) + 1;

class Language {
 public:
  // `name` and `grammar` must live as long as the process; both are static data in practice.
  Language(std::string_view name, const TSLanguage* grammar);
  Language(const Language&) = delete;
  Language& operator=(const Language&) = delete;

  // The language's own name, such as "csharp".
  std::string_view name() const { return _name; }

  // What the library's parser is given.
  const TSLanguage* grammar() const { return _grammar.grammar(); }

  // The text of a symbol's type, with the renamings of language.cpp. ERROR's 65535 gives "ERROR"; a
  // number that the grammar does not have gives the empty text.
  std::string_view type_name(std::uint16_t symbol) const;

  // The node type of a symbol. Any number may be asked for, ERROR's included.
  NodeType node_type(std::uint16_t symbol) const { return _node_types[symbol]; }

  // Whether a node of this symbol is named, as those of the grammar's rules are; keywords and
  // punctuation are not.
  bool is_named(std::uint16_t symbol) const;

  // All symbols whose type has this text, under the grammar's name or the rules'. A search, for
  // building tables.
  std::vector<std::uint16_t> symbols_of(std::string_view type) const;

  // The grammar's id of a field, or 0 when it has no field of that name. Asking by text is a
  // search.
  std::uint16_t field_id(Field field) const { return _field_ids[static_cast<std::size_t>(field)]; }
  std::uint16_t field_id(std::string_view name) const;

  // One more than the largest symbol of the grammar. ERROR's is larger.
  std::uint16_t symbol_count() const { return static_cast<std::uint16_t>(_type_names.size()); }

 private:
  const std::string_view _name;
  const WideGrammar _grammar;
  std::vector<std::string_view> _type_names;  // by symbol, without ERROR
  std::vector<bool> _is_named;                // by symbol
  std::array<std::uint16_t, FIELD_COUNT> _field_ids{};
  std::array<NodeType, 65536> _node_types{};  // by symbol; the value 0 is `other`
};

}  // namespace engines::languages
