// What declares something under the navigation rules: one table, by language.
//
// The first row of a node's type that holds names it. Conditions are written as core/condition.h
// says. A name is a path as in core/own_name.h; "+" in front of a field takes all that stand under
// it, "*" too, and gives each its own lines.
#pragma once

#include <string_view>

#include "engines/treesitter/core/grammar_rows.h"

namespace engines::treesitter {

// What a row may say beside its four columns.
struct DeclarationTerms {
  std::string_view around = "";  // only within these: "file", "type", "value"
  std::string_view when = "";
  std::string_view words = "";  // only with all of these modifiers
  std::string_view each = "";   // the names are the children of these types of what `name` says
  std::string_view owner = "";  // the place of the type that the declaration belongs to
  bool is_whole_name = false;   // the name is all that `name` says, as written
  bool opens_scope = true;      // what the node holds belongs to the declaration
  bool stays_open = false;      // what follows in the same parent lies within it, to the next such
  bool is_of_outer = false;     // it belongs to what the innermost open declaration belongs to
  bool is_qualified = false;    // the FQN has all of it, the name only its last part
};

struct DeclarationRow {
  In languages;
  std::string_view types;
  std::string_view name;
  std::string_view kind;  // empty for a scope that has no name and whose variables are its own
  DeclarationTerms terms = {};
};

inline constexpr DeclarationRow DECLARATION_ROWS[] = {
    // ---- Python
    {In::python, "class_definition", "name", "class"},
    {In::python, "function_definition", "name", "method", {.around = "type"}},
    {In::python, "function_definition", "name", "function"},
    {In::python, "type_alias_statement", "left", "type", {.around = "file type"}},
    {In::python,
     "assignment",
     "left",
     "method",
     {.around = "type", .when = "left: identifier; right: lambda"}},
    {In::python,
     "assignment",
     "left",
     "function",
     {.around = "file value", .when = "left: identifier; right: lambda"}},
    {In::python,
     "assignment",
     "left",
     "type",
     {.around = "file type", .when = "left: identifier; type= TypeAlias typing.TypeAlias"}},
    {In::python,
     "assignment",
     "left",
     "constant",
     {.around = "file type", .when = "left: identifier; left~ upper", .opens_scope = false}},
    {In::python,
     "assignment",
     "left",
     "variable",
     {.around = "file type", .when = "left: identifier", .opens_scope = false}},
    {In::python,
     "assignment",
     "left",
     "constant",
     {.around = "file type", .when = "left~ upper", .each = "identifier", .opens_scope = false}},
    {In::python,
     "assignment",
     "left",
     "variable",
     {.around = "file type", .each = "identifier", .opens_scope = false}},
    {In::python, "lambda", "", ""},

    // ---- Java
    {In::java, "class_declaration record_declaration", "name", "class"},
    {In::java, "interface_declaration", "name", "interface"},
    {In::java, "annotation_type_declaration", "name", "type"},
    {In::java, "enum_declaration", "name", "enum"},
    {In::java, "method_declaration", "name", "function", {.around = "file"}},
    {In::java, "method_declaration annotation_type_element_declaration", "name", "method"},
    {In::java, "constructor_declaration compact_constructor_declaration", "name", "method"},
    {In::java, "variable_declarator", "name", "constant", {.when = "^: constant_declaration"}},
    {In::java,
     "variable_declarator",
     "name",
     "constant",
     {.when = "^: field_declaration", .words = "static final"}},
    {In::java, "variable_declarator", "name", "variable", {.when = "^: field_declaration"}},
    {In::java,
     "variable_declarator",
     "name",
     "variable",
     {.around = "file", .when = "^: local_variable_declaration"}},
    {In::java, "block for_statement", "", "", {.around = "file"}},
    {In::java, "formal_parameter", "name", "variable", {.when = "^^: record_declaration"}},
    {In::java,
     "variable_declarator",
     "name",
     "variable",
     {.when = "^: spread_parameter; ^^^: record_declaration"}},
    {In::java, "enum_constant", "name", "constant"},
    {In::java, "package_declaration", ">", "module", {.is_whole_name = true}},
    {In::java, "module_declaration", "name", "module", {.is_whole_name = true}},

    // ---- Go
    {In::go, "function_declaration", "name", "function"},
    {In::go, "method_declaration", "name", "method", {.owner = "receiver"}},
    {In::go, "method_elem", "name", "method"},
    {In::go, "type_spec", "name", "class", {.when = "type: struct_type"}},
    {In::go, "type_spec", "name", "interface", {.when = "type: interface_type"}},
    {In::go, "type_spec type_alias", "name", "type"},
    {In::go, "field_declaration", "+name", "variable", {.around = "type", .when = "name"}},
    {In::go, "field_declaration", "type", "variable", {.around = "type", .when = "!name"}},
    {In::go, "const_spec", "+name", "constant", {.around = "file"}},
    {In::go, "var_spec", "+name", "variable", {.around = "file"}},
    {In::go, "package_clause", "<", "module"},

    // ---- Rust

    // ---- C#
    {In::csharp, "class_declaration record_declaration struct_declaration", "name", "class"},
    {In::csharp, "interface_declaration", "name", "interface"},
    {In::csharp, "enum_declaration", "name", "enum"},
    {In::csharp, "enum_member_declaration", "name", "constant"},
    {In::csharp, "delegate_declaration", "name", "type"},
    {In::csharp, "method_declaration constructor_declaration", "name", "method"},
    {In::csharp, "destructor_declaration", "name", "method"},
    {In::csharp, "operator_declaration", "operator", "method", {.is_whole_name = true}},
    {In::csharp, "conversion_operator_declaration", "type", "method", {.is_whole_name = true}},
    {In::csharp, "local_function_statement", "name", "function"},
    {In::csharp, "property_declaration event_declaration", "name", "variable"},
    {In::csharp, "indexer_declaration", "'this", "variable", {.is_whole_name = true}},
    {In::csharp,
     "variable_declarator",
     "name",
     "constant",
     {.when = "^^: field_declaration", .words = "const"}},
    {In::csharp,
     "variable_declarator",
     "name",
     "constant",
     {.when = "^^: field_declaration", .words = "static readonly"}},
    {In::csharp,
     "variable_declarator",
     "name",
     "variable",
     {.when = "^^: field_declaration event_field_declaration"}},
    {In::csharp, "parameter", "name", "variable", {.when = "^^: record_declaration"}},
    {In::csharp, "namespace_declaration", "name", "module", {.is_whole_name = true}},
    {In::csharp,
     "file_scoped_namespace_declaration",
     "name",
     "module",
     {.is_whole_name = true, .stays_open = true}},

    // ---- Ruby
    {In::ruby, "class", "name", "class", {.is_qualified = true}},
    {In::ruby, "module", "name", "module", {.is_qualified = true}},
    {In::ruby,
     "singleton_class",
     "value",
     "class",
     {.when = "value: constant scope_resolution", .is_qualified = true}},
    {In::ruby, "method singleton_method", "name", "method"},
    {In::ruby,
     "assignment",
     "left",
     "class",
     {.when = "left: constant scope_resolution; right/receiver= Class Struct Data; right/method= "
              "new define",
      .is_qualified = true}},
    {In::ruby,
     "assignment",
     "left",
     "module",
     {.when = "left: constant scope_resolution; right/receiver= Module; right/method= new",
      .is_qualified = true}},
    {In::ruby,
     "assignment operator_assignment",
     "left",
     "constant",
     {.when = "left: constant scope_resolution", .opens_scope = false, .is_qualified = true}},
    {In::ruby,
     "assignment",
     "left",
     "constant",
     {.when = "left: left_assignment_list",
      .each = "constant scope_resolution",
      .opens_scope = false}},
    {In::ruby,
     "call",
     "*arguments",
     "method",
     {.when = "method= attr attr_accessor attr_reader attr_writer; !receiver",
      .each = "simple_symbol string"}},
    {In::ruby,
     "call",
     "arguments/<",
     "method",
     {.when = "method= alias_method define_method define_singleton_method; "
              "arguments/<: simple_symbol string"}},
    {In::ruby, "alias", "name", "method"},

    // ---- PHP
    {In::php, "class_declaration", "name", "class"},
    {In::php, "interface_declaration trait_declaration", "name", "interface"},
    {In::php, "enum_declaration", "name", "enum"},
    {In::php, "enum_case", "name", "constant"},
    {In::php, "function_definition", "name", "function"},
    {In::php, "method_declaration", "name", "method"},
    {In::php, "use_as_clause", ">", "method", {.when = ">: name"}},
    {In::php, "property_element", "name", "variable"},
    {In::php, "property_promotion_parameter", "name", "variable", {.is_of_outer = true}},
    {In::php, "const_element", "<", "constant"},
    {In::php,
     "function_call_expression",
     "arguments/</</<",
     "constant",
     {.when = "function= define \\define; arguments/</</<: string_content", .opens_scope = false}},
    {In::php, "namespace_definition", "name", "module", {.when = "body", .is_whole_name = true}},
    {In::php,
     "namespace_definition",
     "name",
     "module",
     {.is_whole_name = true, .stays_open = true}},

    // ---- SQL

    // ---- JavaScript, TypeScript
    {In::script, "class_declaration class", "name", "class"},
    {In::typed_script, "abstract_class_declaration", "name", "class"},
    {In::script, "function_declaration generator_function_declaration", "name", "function"},
    {In::script, "function_expression generator_function", "name", "function"},
    {In::typed_script, "function_signature", "name", "function"},
    {In::script, "method_definition", "name", "method"},
    {In::typed_script, "method_signature abstract_method_signature", "name", "method"},
    {In::typed_script, "property_signature", "name", "variable", {.around = "type"}},
    {In::javascript,
     "field_definition",
     "property",
     "method",
     {.when = "value: arrow_function function_expression generator_function"}},
    {In::javascript, "field_definition", "property", "variable"},
    {In::typed_script,
     "public_field_definition",
     "name",
     "method",
     {.when = "value: arrow_function function_expression generator_function"}},
    {In::typed_script, "public_field_definition", "name", "constant", {.words = "static readonly"}},
    {In::typed_script, "public_field_definition", "name", "variable"},
    {In::typed_script, "interface_declaration", "name", "interface"},
    {In::typed_script, "type_alias_declaration", "name", "type"},
    {In::typed_script, "enum_declaration", "name", "enum"},
    {In::typed_script, "enum_body", "*name", "constant"},
    {In::typed_script, "enum_assignment", "name", "constant"},
    {In::typed_script, "internal_module module", "name", "module"},
    {In::script,
     "variable_declarator",
     "name",
     "function",
     {.when = "value: arrow_function function_expression generator_function"}},
    {In::script, "variable_declarator", "name", "class", {.when = "value: class"}},
    {In::script,
     "variable_declarator",
     "name",
     "constant",
     {.around = "file", .when = "^kind= const"}},
    {In::script, "variable_declarator", "name", "variable", {.around = "file"}},
    {In::script,
     "assignment_expression",
     "left",
     "function",
     {.when = "right: arrow_function function_expression generator_function"}},
    {In::script, "assignment_expression", "left", "class", {.when = "right: class"}},
    {In::script,
     "pair",
     "key",
     "function",
     {.when = "value: arrow_function function_expression generator_function"}},
    {In::script, "arrow_function function_expression generator_function", "", ""},
};

}  // namespace engines::treesitter
