// See holder.h.
#include "engines/treesitter/navigation/holder.h"

#include <optional>

namespace engines::treesitter {
namespace {

struct TypesRow {
  In languages;
  std::string_view types;
};

// The types of holders.
constexpr TypesRow HOLDERS[] = {
    {In::python, "decorated_definition expression_statement"},
    {In::java, "field_declaration constant_declaration"},
    {In::csharp, "variable_declaration field_declaration event_field_declaration"},
    {In::go, "type_declaration const_declaration var_declaration"},
    {In::php, "property_declaration const_declaration expression_statement"},
    {In::sql, "statement add_column add_constraint"},
    {In::ruby, "argument_list call"},  // `private def f`
    {In::script, "export_statement lexical_declaration variable_declaration"},
    {In::javascript, "using_declaration"},
    {In::script, "expression_statement assignment_expression"},
    {In::typed_script, "ambient_declaration"},
};

// Children that are modifiers or contain them.
constexpr TypesRow MODIFIERS[] = {
    {In::java, "modifiers"},
    {In::csharp, "modifier"},
    {In::rust, "visibility_modifier"},
    {In::typed_script, "accessibility_modifier override_modifier"},
};

// Children whose whole text is the modifier: PHP's `private(set)` is not `private`.
constexpr TypesRow WHOLE_MODIFIERS[] = {
    {In::php, "visibility_modifier"},
};

// In front of a node these show that it is one of several, or has a comment of its own.
constexpr std::string_view SEPARATORS[] = {"(", "{", ",", ";", "\n"};

// Nobody writes more holders around a declaration, or more modifiers, by hand. Without these
// limits, a hostile file could be read once for each of its declarators.
constexpr int MOST_HOLDERS = 4;
constexpr int MOST_MODIFIERS = 64;

bool is_alone(const Node& node) {
  const std::optional<Node> before = node.previous_record();
  return !before || (!is_comment(*before) && before->symbol() != node.symbol() &&
                     !is_one_of(before->type_text(), SEPARATORS));
}

enum Modifiers : std::uint8_t { NONE, MAY_HOLD_WORDS, READ_WHOLE };

void mark(const languages::Language& language, const TypesRow& row, BySymbol<std::uint8_t>& set,
          std::uint8_t value) {
  if (!speaks_of(row.languages, language.name())) return;
  for (const std::uint16_t symbol : SymbolSet(language, row.types)) {
    if (language.is_named(symbol)) set.at(symbol) = value;
  }
}

}  // namespace

Holders::Holders(const languages::Language& language) : _is_holder(language), _modifiers(language) {
  for (const TypesRow& row : HOLDERS) mark(language, row, _is_holder, 1);
  for (const TypesRow& row : MODIFIERS) mark(language, row, _modifiers, MAY_HOLD_WORDS);
  for (const TypesRow& row : WHOLE_MODIFIERS) mark(language, row, _modifiers, READ_WHOLE);
}

Node Holders::of(const Node& declaration) const { return climb(declaration, false); }

Node Holders::documented(const Node& declaration) const { return climb(declaration, true); }

Node Holders::climb(Node node, bool stays_alone) const {
  for (int i = 0; i < MOST_HOLDERS && (!stays_alone || is_alone(node)); ++i) {
    const std::optional<Node> parent = node.parent();
    if (!parent || !_is_holder[parent->symbol()]) break;
    node = *parent;
  }
  return node;
}

bool Holders::has_modifier(const Node& holder, std::string_view word) const {
  int seen = 0;
  for (const Node child : holder.children()) {
    if (++seen > MOST_MODIFIERS) break;
    if (!child.is_named() && child.type_text() == word) return true;
    const std::uint8_t modifiers = _modifiers[child.symbol()];
    if (modifiers == NONE) continue;
    if (child.bytes() == word) return true;
    if (modifiers == READ_WHOLE) continue;
    for (const Node token : child.children()) {
      if (++seen > MOST_MODIFIERS) break;
      if (token.type_text() == word) return true;
    }
  }
  return false;
}

}  // namespace engines::treesitter
