// Whether a declaration is visible outside its file under the standard rules: one rule per
// language.
//
// Rules read the node, its direct children and, for JavaScript, TypeScript and TSX, its ancestors.
// A text that a rule reads and that is no UTF-8 throws Utf8Error. Rules end as soon as they can: in
// Java `class A { "\xff" }` throws for its body, and `public class A { "\xff" }` does not. A
// modifier is found anywhere in a text, so an annotation that mentions "public" makes a declaration
// public.
//
// Costs one step for each direct child, whatever the length of its text: Source finds ill-formed
// bytes and words by bisection.
//
// Tested by tests/visibility_test.cpp.
#include <algorithm>
#include <cstdint>
#include <iterator>
#include <optional>
#include <string>
#include <string_view>

#include "engines/treesitter/parsing/node.h"
#include "engines/treesitter/text/text.h"
#include "engines/treesitter/treesitter.h"

namespace engines::treesitter {
namespace {

enum class Rule : std::uint8_t {
  no_underscore,     // the name does not begin with one
  upper_case,        // the name begins in upper case
  public_modifier,   // Java's `public`
  csharp,            // `public`, or marked as a controller or an action
  php,               // not `private`, not `protected`
  rust,              // `pub`, of whatever scope
  ruby,              // not in a private or protected section (ruby_sections.cpp)
  exported_by_form,  // in an `export` statement, or with the keyword as a child
  always,
};

struct RuleRow {
  std::string_view language;
  Rule rule;
};

// Languages without a row export nothing.
constexpr RuleRow RULES[] = {
    {"python", Rule::no_underscore},
    {"csharp", Rule::csharp},
    {"java", Rule::public_modifier},
    {"php", Rule::php},
    {"go", Rule::upper_case},
    {"rust", Rule::rust},
    {"ruby", Rule::ruby},
    {"sql", Rule::always},
    {"markdown", Rule::always},
    {"javascript", Rule::exported_by_form},
    {"typescript", Rule::exported_by_form},
    {"tsx", Rule::exported_by_form},
};

constexpr NodeType MODIFIER_TYPES[] = {NodeType::modifiers, NodeType::modifier,
                                       NodeType::visibility_modifier};

// Attributes that make their declaration public. Parts of longer words count, as in `RoutePrefix`.
constexpr std::string_view CONTROLLER_MARKERS[] = {"ApiController", "Controller", "Route",
                                                   "HttpGet", "HttpPost"};

constexpr NodeType PHP_PUBLIC_TYPES[] = {
    NodeType::class_declaration, NodeType::interface_declaration, NodeType::trait_declaration};
constexpr NodeType PHP_MODIFIER_TYPES[] = {NodeType::visibility_modifier, NodeType::modifier};
constexpr std::string_view PHP_HIDING_WORDS[] = {"private", "protected"};

constexpr std::string_view RUST_PUBLIC_PREFIX = "pub";

// The node's text; empty for a node without bytes.
std::string_view text_or_empty(const Node& node) { return _node_text(node).value_or(""); }

// Whether the node's text contains the word. The text is read first, so that one that is no UTF-8
// throws.
bool holds(const Node& node, std::string_view word) {
  return _node_text(node) &&
         node.tree().source().contains(node.start_byte(), node.end_byte(), word);
}

template <std::size_t N>
bool holds_one_of(const Node& node, const std::string_view (&words)[N]) {
  return std::any_of(std::begin(words), std::end(words),
                     [&](std::string_view word) { return holds(node, word); });
}

std::optional<Rule> rule_of(std::string_view language) {
  for (const RuleRow& row : RULES) {
    if (row.language == language) return row.rule;
  }
  return std::nullopt;
}

// Whether an `export` statement is around the node, within the program or module. In these grammars
// these three are the only types of SCOPE_TYPES, so the nearest scope decides.
bool is_exported_by_form(const Node& node) {
  const std::optional<Node> scope = node.scope();
  if (scope && scope->type() == NodeType::export_statement) return true;
  return node.first_child(NodeType::export_).has_value();
}

}  // namespace

bool TreeSitterEngine::_is_exported(const Node& node, std::string_view language) const {
  const std::optional<Rule> rule = rule_of(language);
  if (!rule) return false;
  switch (*rule) {
    case Rule::no_underscore: {
      const std::optional<std::string> name = _get_symbol_name(node, language);
      return name && !name->starts_with('_');
    }
    case Rule::upper_case: {
      const std::optional<std::string> name = _get_symbol_name(node, language);
      return name && is_upper(first(*name, 1));
    }
    case Rule::public_modifier:
      return _has_modifier(node, "public");
    case Rule::csharp:
      return _is_csharp_public_or_controller(node);
    case Rule::php:
      return _is_php_public(node);
    case Rule::rust:
      return _is_rust_public(node);
    case Rule::ruby:
      return _is_ruby_public(node);
    case Rule::exported_by_form:
      return is_exported_by_form(node);
    case Rule::always:
      return true;
  }
  return false;
}

bool TreeSitterEngine::_has_modifier(const Node& node, std::string_view modifier) {
  for (const Node child : node.children()) {
    if (is_one_of(child.type(), MODIFIER_TYPES) && holds(child, modifier)) return true;
    if (child.type_text() == modifier) return true;
    if (text_or_empty(child) == modifier) return true;
  }
  return false;
}

bool TreeSitterEngine::_is_csharp_public_or_controller(const Node& node) {
  if (_has_modifier(node, "public")) return true;
  for (const Node child : node.children()) {
    if (child.type() != NodeType::attribute_list) continue;
    if (holds_one_of(child, CONTROLLER_MARKERS)) return true;
  }
  return false;
}

bool TreeSitterEngine::_is_php_public(const Node& node) {
  if (is_one_of(node.type(), PHP_PUBLIC_TYPES)) return true;
  for (const Node child : node.children()) {
    const bool is_modifier = is_one_of(child.type(), PHP_MODIFIER_TYPES);
    if (is_modifier && holds_one_of(child, PHP_HIDING_WORDS)) return false;
    if (is_one_of(text_or_empty(child), PHP_HIDING_WORDS)) return false;
  }
  return true;
}

bool TreeSitterEngine::_is_rust_public(const Node& node) {
  const std::optional<Node> visibility = node.first_child(NodeType::visibility_modifier);
  return visibility && text_or_empty(*visibility).starts_with(RUST_PUBLIC_PREFIX);
}

}  // namespace engines::treesitter
