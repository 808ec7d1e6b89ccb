// The node types that the engine's rules name.
//
// A node type is its text. A grammar may have several symbols of one text, and the keyword `class`
// is of the same type as the node `class`; it has no name, so it declares nothing. A grammar's
// symbols are translated into these enumerators once, when its Language is built, so that walks
// compare bytes and not texts. Every type that no rule names is `other`.
//
// Enumerators are spelled as the texts, with an underscore behind C++ keywords; punctuation is
// written as a word. To add one, add the enumerator and a row at the same place of NODE_TYPE_TEXTS.
// The compiler refuses a table in another order.
//
// Tested by tests/languages_test.cpp.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace engines::languages {

enum class NodeType : std::uint8_t {
  other,

  // Declarations, in the order of the kind table.
  class_definition,
  function_definition,
  class_declaration,
  function_declaration,
  method_definition,
  arrow_function,
  interface_declaration,
  type_alias_declaration,
  enum_declaration,
  method_declaration,
  constructor_declaration,
  field_declaration,
  annotation_type_declaration,
  type_declaration,
  struct_declaration,
  property_declaration,
  namespace_declaration,
  function_item,
  struct_item,
  enum_item,
  trait_item,
  impl_item,
  mod_item,
  const_item,
  static_item,
  type_item,
  class_,
  module,
  method,
  singleton_method,
  trait_declaration,
  create_table_statement,
  create_view_statement,
  create_function_statement,
  create_procedure_statement,
  create_index_statement,
  create_trigger_statement,
  atx_heading,
  pair,
  block_mapping_pair,
  flow_pair,
  anchor,
  table,
  table_array_element,
  element,

  // Python's constants.
  assignment,
  type,

  // Names.
  identifier,
  type_identifier,
  property_identifier,
  field_identifier,
  constant,
  inline_,
  name,
  STag,
  EmptyElemTag,
  Name,
  string,
  anchor_name,
  flow_node,
  block_node,
  block_scalar,
  plain_scalar,
  single_quote_scalar,
  double_quote_scalar,
  colon,
  bare_key,
  dotted_key,
  quoted_key,
  equals,

  // Documentation.
  block,
  class_body,
  suite,
  expression_statement,
  comment,
  line_comment,
  block_comment,
  marginalia,
  newline,

  // Visibility.
  modifiers,
  modifier,
  visibility_modifier,
  public_,
  attribute_list,
  export_statement,
  program,
  export_,

  // References: calls, imports, type uses, method references, aliases.
  call,
  call_expression,
  function_call_expression,
  invocation_expression,
  macro_invocation,
  member_call_expression,
  method_invocation,
  import_statement,
  import_from_statement,
  import_declaration,
  use_declaration,
  using_directive,
  include_expression,
  include_once_expression,
  require_expression,
  require_once_expression,
  require,
  generic_type,
  base_list,
  extends_clause,
  implements_clause,
  attribute,
  member_expression,
  member_access_expression,
  alias,
  alias_name,
  import,
  dotted_name,
  aliased_import,
  module_name,
  qualified_name,
  import_specifier,

  // Text that did not parse. Stays last: the table's length is checked by it.
  error,
};

struct NodeTypeText {
  NodeType type;
  std::string_view text;
};

// One row per enumerator, in their order. `other` has no text of its own.
inline constexpr auto NODE_TYPE_TEXTS = std::to_array<NodeTypeText>({
    {NodeType::other, ""},

    {NodeType::class_definition, "class_definition"},
    {NodeType::function_definition, "function_definition"},
    {NodeType::class_declaration, "class_declaration"},
    {NodeType::function_declaration, "function_declaration"},
    {NodeType::method_definition, "method_definition"},
    {NodeType::arrow_function, "arrow_function"},
    {NodeType::interface_declaration, "interface_declaration"},
    {NodeType::type_alias_declaration, "type_alias_declaration"},
    {NodeType::enum_declaration, "enum_declaration"},
    {NodeType::method_declaration, "method_declaration"},
    {NodeType::constructor_declaration, "constructor_declaration"},
    {NodeType::field_declaration, "field_declaration"},
    {NodeType::annotation_type_declaration, "annotation_type_declaration"},
    {NodeType::type_declaration, "type_declaration"},
    {NodeType::struct_declaration, "struct_declaration"},
    {NodeType::property_declaration, "property_declaration"},
    {NodeType::namespace_declaration, "namespace_declaration"},
    {NodeType::function_item, "function_item"},
    {NodeType::struct_item, "struct_item"},
    {NodeType::enum_item, "enum_item"},
    {NodeType::trait_item, "trait_item"},
    {NodeType::impl_item, "impl_item"},
    {NodeType::mod_item, "mod_item"},
    {NodeType::const_item, "const_item"},
    {NodeType::static_item, "static_item"},
    {NodeType::type_item, "type_item"},
    {NodeType::class_, "class"},
    {NodeType::module, "module"},
    {NodeType::method, "method"},
    {NodeType::singleton_method, "singleton_method"},
    {NodeType::trait_declaration, "trait_declaration"},
    {NodeType::create_table_statement, "create_table_statement"},
    {NodeType::create_view_statement, "create_view_statement"},
    {NodeType::create_function_statement, "create_function_statement"},
    {NodeType::create_procedure_statement, "create_procedure_statement"},
    {NodeType::create_index_statement, "create_index_statement"},
    {NodeType::create_trigger_statement, "create_trigger_statement"},
    {NodeType::atx_heading, "atx_heading"},
    {NodeType::pair, "pair"},
    {NodeType::block_mapping_pair, "block_mapping_pair"},
    {NodeType::flow_pair, "flow_pair"},
    {NodeType::anchor, "anchor"},
    {NodeType::table, "table"},
    {NodeType::table_array_element, "table_array_element"},
    {NodeType::element, "element"},

    {NodeType::assignment, "assignment"},
    {NodeType::type, "type"},

    {NodeType::identifier, "identifier"},
    {NodeType::type_identifier, "type_identifier"},
    {NodeType::property_identifier, "property_identifier"},
    {NodeType::field_identifier, "field_identifier"},
    {NodeType::constant, "constant"},
    {NodeType::inline_, "inline"},
    {NodeType::name, "name"},
    {NodeType::STag, "STag"},
    {NodeType::EmptyElemTag, "EmptyElemTag"},
    {NodeType::Name, "Name"},
    {NodeType::string, "string"},
    {NodeType::anchor_name, "anchor_name"},
    {NodeType::flow_node, "flow_node"},
    {NodeType::block_node, "block_node"},
    {NodeType::block_scalar, "block_scalar"},
    {NodeType::plain_scalar, "plain_scalar"},
    {NodeType::single_quote_scalar, "single_quote_scalar"},
    {NodeType::double_quote_scalar, "double_quote_scalar"},
    {NodeType::colon, ":"},
    {NodeType::bare_key, "bare_key"},
    {NodeType::dotted_key, "dotted_key"},
    {NodeType::quoted_key, "quoted_key"},
    {NodeType::equals, "="},

    {NodeType::block, "block"},
    {NodeType::class_body, "class_body"},
    {NodeType::suite, "suite"},
    {NodeType::expression_statement, "expression_statement"},
    {NodeType::comment, "comment"},
    {NodeType::line_comment, "line_comment"},
    {NodeType::block_comment, "block_comment"},
    {NodeType::marginalia, "marginalia"},
    {NodeType::newline, "\n"},

    {NodeType::modifiers, "modifiers"},
    {NodeType::modifier, "modifier"},
    {NodeType::visibility_modifier, "visibility_modifier"},
    {NodeType::public_, "public"},
    {NodeType::attribute_list, "attribute_list"},
    {NodeType::export_statement, "export_statement"},
    {NodeType::program, "program"},
    {NodeType::export_, "export"},

    {NodeType::call, "call"},
    {NodeType::call_expression, "call_expression"},
    {NodeType::function_call_expression, "function_call_expression"},
    {NodeType::invocation_expression, "invocation_expression"},
    {NodeType::macro_invocation, "macro_invocation"},
    {NodeType::member_call_expression, "member_call_expression"},
    {NodeType::method_invocation, "method_invocation"},
    {NodeType::import_statement, "import_statement"},
    {NodeType::import_from_statement, "import_from_statement"},
    {NodeType::import_declaration, "import_declaration"},
    {NodeType::use_declaration, "use_declaration"},
    {NodeType::using_directive, "using_directive"},
    {NodeType::include_expression, "include_expression"},
    {NodeType::include_once_expression, "include_once_expression"},
    {NodeType::require_expression, "require_expression"},
    {NodeType::require_once_expression, "require_once_expression"},
    {NodeType::require, "require"},
    {NodeType::generic_type, "generic_type"},
    {NodeType::base_list, "base_list"},
    {NodeType::extends_clause, "extends_clause"},
    {NodeType::implements_clause, "implements_clause"},
    {NodeType::attribute, "attribute"},
    {NodeType::member_expression, "member_expression"},
    {NodeType::member_access_expression, "member_access_expression"},
    {NodeType::alias, "alias"},
    {NodeType::alias_name, "alias_name"},
    {NodeType::import, "import"},
    {NodeType::dotted_name, "dotted_name"},
    {NodeType::aliased_import, "aliased_import"},
    {NodeType::module_name, "module_name"},
    {NodeType::qualified_name, "qualified_name"},
    {NodeType::import_specifier, "import_specifier"},

    {NodeType::error, "ERROR"},
});

inline constexpr std::size_t NODE_TYPE_COUNT = NODE_TYPE_TEXTS.size();

static_assert(NODE_TYPE_COUNT == static_cast<std::size_t>(NodeType::error) + 1,
              "every enumerator has one row");
static_assert(
    [] {
      for (std::size_t i = 0; i < NODE_TYPE_COUNT; ++i) {
        if (NODE_TYPE_TEXTS[i].type != static_cast<NodeType>(i)) return false;
      }
      return true;
    }(),
    "rows stand in the order of the enumerators");

// The text of a node type; empty for `other`.
constexpr std::string_view node_type_text(NodeType type) {
  return NODE_TYPE_TEXTS[static_cast<std::size_t>(type)].text;
}

// The node type of a text; `other` when no rule names it. Reads the whole table, for building
// languages and for tests. Walks ask their Language.
constexpr NodeType node_type_of(std::string_view text) {
  const auto row = std::find_if(NODE_TYPE_TEXTS.begin(), NODE_TYPE_TEXTS.end(),
                                [text](const NodeTypeText& entry) { return entry.text == text; });
  return row == NODE_TYPE_TEXTS.end() ? NodeType::other : row->type;
}

}  // namespace engines::languages
