#pragma once

// A language as the engine works with it: the grammar, and its node types and fields resolved once.
//
// Grammars speak in symbol ids and texts; the rules speak in NodeType and Field. A Language holds
// the translation, built when the language is first asked for, so that a walk pays one load per
// node and no rule knows that two grammars name their nodes otherwise (language.cpp renames them).
//
// Immutable once built and read by all threads; never destroyed (languages.h). Costs 64 KiB of
// address space, of which only the pages that hold the grammar's symbols and ERROR are touched, and
// the grammar's parse table (wide_grammar.h).
//
// Tested by tests/languages_test.cpp.

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
inline constexpr std::size_t FIELD_COUNT = 6;

class Language {
 public:
  // `name` and `grammar` must live as long as the process; both are static data in practice.
  Language(std::string_view name, const TSLanguage* grammar);
  Language(const Language&) = delete;
  Language& operator=(const Language&) = delete;

  // The language's own name, such as "csharp".
  std::string_view name() const { return _name; }

  // What a parser is constructed from.
  const TSLanguage* grammar() const { return _grammar.grammar(); }

  // The text of a node's type, as the rules see it. `symbol` is what the tree holds: ERROR's 65535
  // gives "ERROR", a number that the grammar does not know gives the empty text.
  std::string_view type_name(std::uint16_t symbol) const;

  // The node type of a symbol; right for every number, ERROR's included.
  NodeType node_type(std::uint16_t symbol) const { return _node_types[symbol]; }

  // Whether a node of this symbol is named, as the grammar's rules are, and not a keyword or a
  // piece of punctuation.
  bool is_named(std::uint16_t symbol) const;

  // All symbols of a node type's text. A search, for building tables.
  std::vector<std::uint16_t> symbols_of(std::string_view type) const;

  // The grammar's id of a field, or 0 when it has no field of that name. By text it is a search.
  std::uint16_t field_id(Field field) const { return _field_ids[static_cast<std::size_t>(field)]; }
  std::uint16_t field_id(std::string_view name) const;

  // One more than the largest symbol of the grammar; ERROR's lies outside.
  std::uint16_t symbol_count() const { return static_cast<std::uint16_t>(_type_names.size()); }

 private:
  const std::string_view _name;
  const WideGrammar _grammar;
  std::vector<std::string_view> _type_names;  // by symbol; ERROR stands outside
  std::vector<bool> _is_named;                // by symbol
  std::array<std::uint16_t, FIELD_COUNT> _field_ids{};
  std::array<NodeType, 65536> _node_types{};  // by symbol; the value 0 is `other`
};

}  // namespace engines::languages
