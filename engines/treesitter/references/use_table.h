// The references of each language under the navigation rules.
//
// A row is about names by what is around them. The whole of a name is the outermost node that has
// this name (navigation/own_name.h): in `a.b<T>()` the whole of `b` is `a.b<T>`. A row names the
// type of the node above the whole, and the place of the whole in it. The first row that holds
// decides. Rows for any node above, which have "*", are tried after the others.
//
// Tested by tests/navigation_test.cpp and the navigation cases in tests/golden.
#pragma once

#include <string_view>

#include "engines/treesitter/navigation/grammar_rows.h"

namespace engines::treesitter {

// Which text becomes the name of the reference.
enum class Reading : std::uint8_t {
  own,       // the name alone
  whole,     // the node as written, such as a dotted path; such rows are about nodes, not names
  in_group,  // the same, behind the paths of the groups around it
  last,      // the part behind the last slash, backslash, colon or full stop of a path
  package,   // the same without a version: `yaml` for `example.org/yaml/v3`
};

// The optional part of a row.
struct UseTerms {
  std::string_view name = "";    // only names of these node types
  std::string_view within = "";  // only in this region (RegionRow)
  std::string_view when = "";    // asked of the node above (navigation/condition.h)
  Reading reading = Reading::own;
  bool is_upper_case = false;  // only names that begin in upper case, as those of types do
};

struct UseRow {
  In languages;
  std::string_view above;  // node types, or "*"
  std::string_view place;  // a field, "<" or ">"; empty for any
  std::string_view kinds;  // of the references, or empty for none
  UseTerms terms = {};
};

inline constexpr UseRow USE_ROWS[] = {
    // ---- Python
    {In::python, "call", "function", "call"},
    // `Repo[int]()`; in `HANDLERS[key]()` the name is not what is called.
    {In::python,
     "subscript",
     "value",
     "call",
     {.when = "^: call; !^arguments: subscript; !value~ upper", .is_upper_case = true}},
    {In::python, "decorator", "<", "call"},
    {In::python,
     "import_statement",
     "name",
     "import_module",
     {.name = "dotted_name", .reading = Reading::whole}},
    {In::python,
     "aliased_import",
     "name",
     "import_module",
     {.name = "dotted_name", .when = "^: import_statement", .reading = Reading::whole}},
    {In::python,
     "import_from_statement",
     "module_name",
     "import_module",
     {.name = "dotted_name relative_import", .reading = Reading::whole}},
    {In::python, "import_statement import_from_statement", "name", "import"},
    {In::python, "future_import_statement", "name", "import"},
    {In::python,
     "future_import_statement",
     "",
     "import_module",
     {.name = "__future__", .reading = Reading::whole}},
    {In::python, "aliased_import", "", "import"},
    {In::python, "function_definition", "return_type", "type"},
    // `*args: P.args`
    {In::python,
     "attribute",
     "object",
     "type",
     {.within = "type", .when = "attribute= args kwargs; ^^: typed_parameter"}},
    {In::python, "typed_parameter", "type", "", {.when = "type/</attribute= args kwargs"}},
    {In::python, "typed_parameter typed_default_parameter assignment", "type", "type"},
    {In::python, "type_alias_statement", "right", "type"},
    {In::python, "type_parameter", "", "", {.when = "^: class_definition function_definition"}},
    {In::python,
     "splat_type",
     "",
     "",
     {.when = "^^: type_parameter; ^^^: class_definition function_definition"}},
    {In::python, "constrained_type", "<", ""},
    {In::python, "type_parameter union_type constrained_type splat_type", "", "type"},
    {In::python, "argument_list", "", "type", {.when = "^: class_definition"}},
    {In::python,
     "keyword_argument",
     "value",
     "type",
     {.within = "type", .when = "name= metaclass"}},
    {In::python, "subscript binary_operator list tuple", "", "type", {.within = "type"}},
    {In::python, "argument_list", ">", "type", {.within = "instance"}},
    {In::python, "argument_list", "<", "type", {.when = "^function= cast typing.cast t.cast"}},
    {In::python, "tuple binary_operator", "", "type", {.within = "instance"}},
    {In::python, "except_clause", "value", "type"},
    {In::python, "tuple", "", "type", {.when = "^: except_clause"}},
    {In::python, "as_pattern", "<", "type", {.when = "^: except_clause"}},
    {In::python, "tuple", "", "type", {.when = "^: as_pattern; ^^: except_clause"}},
    {In::python, "raise_statement", "<", "type", {.is_upper_case = true}},
    {In::python, "assignment", "right", "type", {.within = "type"}},  // of a type alias
    {In::python, "class_pattern", "<", "type"},
    // `x: "C"`, where C is declared later; `Literal["c"]` is a value
    {In::python,
     "string",
     "",
     "type",
     {.within = "type",
      .when = "^: type; string_content~ name; !^^^<= Literal Annotated",
      .reading = Reading::last}},
    {In::python,
     "string",
     "",
     "type",
     {.within = "type",
      .when = "^: subscript; string_content~ name; !^value= Literal Annotated; "
              "!^value/attribute= Literal Annotated",
      .reading = Reading::last}},
    {In::python,
     "string",
     "",
     "type",
     {.within = "type",
      .when = "^: assignment binary_operator; string_content~ name",
      .reading = Reading::last}},
    {In::python,
     "string",
     "",
     "type",
     // A search for a field reads a node's children: the type is asked first.
     {.when = "^: argument_list; ^^function= cast typing.cast t.cast; ^<: string; "
              "string_content~ name",
      .reading = Reading::last}},

    // ---- Java
    {In::java, "method_invocation", "name", "call"},
    {In::java, "object_creation_expression", "type", "call type"},
    {In::java, "explicit_constructor_invocation", "constructor", "call"},
    {In::java, "annotation marker_annotation", "name", "call type"},
    {In::java, "method_reference", "<", "call type", {.when = "'new; !<: array_type"}},
    {In::java, "method_reference", ">", "call", {.name = "identifier", .when = "!'new"}},
    {In::java,
     "import_declaration",
     "",
     "import_module",
     {.name = "scoped_identifier identifier", .reading = Reading::whole}},
    {In::java, "import_declaration", "", "import", {.when = "!>: asterisk"}},
    {In::java,
     "requires_module_directive",
     "module",
     "import_module",
     {.name = "scoped_identifier identifier", .reading = Reading::whole}},
    {In::java, "uses_module_directive provides_module_directive", "", "type"},
    {In::java, "record_pattern", "<", "type"},
    {In::java, "type_parameter", "", ""},
    {In::java,
     "scoped_type_identifier",
     "",
     "type",
     {.name = "type_identifier", .is_upper_case = true}},
    {In::java, "scoped_type_identifier", "", ""},
    {In::java, "*", "", "type", {.name = "type_identifier"}},

    // ---- Go
    {In::go, "call_expression", "function", "call"},
    // `f[int](x)`: a call and a conversion look the same, as they do without the brackets.
    {In::go, "type_conversion_expression", "type", "call", {.when = "type: generic_type"}},
    // `(*T)(nil)`: hardly anybody calls through a pointer.
    {In::go,
     "unary_expression",
     "operand",
     "type",
     {.when = "operator= *; ^: parenthesized_expression; ^^: call_expression"}},
    {In::go,
     "interpreted_string_literal raw_string_literal",
     "<",
     "import_module",
     {.name = "interpreted_string_literal_content raw_string_literal_content",
      .when = "^: import_spec",
      .reading = Reading::whole}},
    {In::go, "import_spec", "name", "import"},
    {In::go, "import_spec", "path", "import", {.when = "!name", .reading = Reading::package}},
    {In::go, "type_spec type_alias", "name", ""},
    {In::go, "*", "", "type", {.name = "type_identifier"}},

    // ---- Rust
    {In::rust, "call_expression", "function", "call"},
    {In::rust, "macro_invocation", "macro", "call"},
    // What has a value, such as `#[path = "x.rs"]`, calls no macro.
    {In::rust, "attribute", "<", "call", {.when = "!value"}},
    {In::rust,
     "token_tree",
     "",
     "type",
     {.name = "identifier", .when = "^: attribute; ^<= derive", .is_upper_case = true}},
    // `cfg_attr(feature = "x", derive(T))`
    {In::rust,
     "token_tree",
     "",
     "type",
     {.name = "identifier",
      .when = "^: token_tree; ^^: attribute; ^^<= cfg_attr",
      .is_upper_case = true}},
    {In::rust,
     "scoped_identifier",
     "path",
     "import_module",
     {.name = "identifier scoped_identifier self super crate",
      .when = "^: use_declaration use_list use_as_clause",
      .reading = Reading::in_group}},
    {In::rust,
     "scoped_use_list",
     "path",
     "import_module",
     {.name = "identifier scoped_identifier self super crate", .reading = Reading::in_group}},
    {In::rust,
     "use_wildcard",
     "<",
     "import_module",
     {.name = "identifier scoped_identifier self super crate", .reading = Reading::in_group}},
    {In::rust, "scoped_use_list", "path", "import", {.when = "list/self"}},
    {In::rust, "use_declaration", "", "import import_module", {.when = "argument: identifier"}},
    {In::rust, "use_as_clause", "alias", "", {.when = "alias= _"}},
    {In::rust,
     "use_as_clause",
     "path",
     "import import_module",
     {.when = "path: identifier; ^: use_declaration"}},
    {In::rust, "use_declaration use_list use_as_clause", "", "import"},
    {In::rust, "extern_crate_declaration", "name", "import import_module"},
    {In::rust, "extern_crate_declaration", "alias", "import"},
    {In::rust, "mod_item", "name", "import_module", {.when = "!body"}},
    {In::rust, "scoped_identifier", "path", "", {.within = "use"}},
    {In::rust,
     "scoped_identifier scoped_type_identifier",
     "path",
     "type",
     {.name = "identifier", .is_upper_case = true}},
    {In::rust, "tuple_struct_pattern", "type", "type", {.name = "identifier"}},
    {In::rust, "struct_item enum_item union_item trait_item", "name", ""},
    {In::rust, "type_item associated_type type_parameter", "name", ""},
    {In::rust, "*", "", "type", {.name = "type_identifier"}},

    // ---- C#
    {In::csharp, "invocation_expression", "function", "", {.when = "function= nameof"}},
    {In::csharp, "invocation_expression", "function", "call"},
    {In::csharp, "object_creation_expression", "type", "call type"},
    {In::csharp, "attribute", "name", "call type"},
    {In::csharp,
     "constructor_initializer",
     "",
     "call",
     {.name = "base this", .reading = Reading::whole}},
    {In::csharp, "primary_constructor_base_type", "type", "call type"},
    {In::csharp, "base_list", "<", "call type", {.when = "'argument_list"}},
    {In::csharp, "base_list type_argument_list explicit_interface_specifier", "", "type"},
    {In::csharp, "type_parameter_constraints_clause", "", "type"},
    // `using A = N.T<U>`: the module is `N`.
    {In::csharp,
     "using_directive",
     ">",
     "",
     {.name = "qualified_name", .when = ">/name: generic_name", .reading = Reading::whole}},
    {In::csharp,
     "qualified_name",
     "qualifier",
     "import_module",
     {.name = "identifier qualified_name alias_qualified_name",
      .when = "^: using_directive; name: generic_name",
      .reading = Reading::whole}},
    {In::csharp,
     "using_directive",
     ">",
     "import_module",
     {.name = "identifier qualified_name alias_qualified_name", .reading = Reading::whole}},
    {In::csharp, "using_directive", "name", "import"},
    {In::csharp, "using_directive", ">", "import", {.when = "'static"}},
    {In::csharp,
     "using_directive",
     ">",
     "import",
     {.when = "name; >: identifier qualified_name alias_qualified_name; !>/name: generic_name"}},
    {In::csharp, "using_directive", ">", "import type", {.when = "name"}},
    {In::csharp, "extern_alias_directive", "name", "import"},
    {In::csharp, "qualified_name", "qualifier", "type", {.when = "qualifier: generic_name"}},
    {In::csharp, "qualified_name", "qualifier", "type", {.when = "qualifier/name: generic_name"}},
    {In::csharp, "member_access_expression", "", "", {.within = "pattern"}},
    {In::csharp,
     "member_access_expression",
     "expression",
     "type",
     {.when = "expression: generic_name"}},
    {In::csharp,
     "member_access_expression",
     "expression",
     "type",
     {.when = "expression/name: generic_name"}},
    // Of `x is T && y` the grammar makes a pattern of all behind `is`, or it cuts `N.T` in two: a
    // member `T` of `x is N`.
    {In::csharp, "constant_pattern", "<", "", {.when = "^: switch_section"}},
    {In::csharp, "constant_pattern", "<", "", {.when = "^^: member_access_expression"}},
    {In::csharp,
     "constant_pattern",
     "<",
     "",
     {.when = "^: negated_pattern; ^^^: member_access_expression"}},
    {In::csharp,
     "constant_pattern",
     "<",
     "type",
     {.when = "<: identifier generic_name binary_expression"}},
    {In::csharp,
     "constant_pattern",
     "<",
     "type",
     {.when = "<: member_access_expression; ^: is_pattern_expression negated_pattern"}},
    {In::csharp, "is_expression as_expression", "right", "type"},
    {In::csharp, "*", "", "type", {.name = "identifier", .within = "pattern"}},
    // Of `f(a * b)` the grammar makes a pointer that is declared.
    {In::csharp, "declaration_expression", "type", "", {.when = "type: pointer_type"}},
    {In::csharp, "*", "type", "type"},
    {In::csharp, "*", "returns", "type"},

    // ---- Ruby
    {In::ruby, "call", "method", "call"},
    {In::ruby, "*", "", "call", {.name = "super"}},
    {In::ruby,
     "argument_list",
     "<",
     "import_module",
     {.name = "string_content",
      .when = "^method= require require_relative load; !</interpolation"}},
    {In::ruby, "argument_list", "<", "import", {.when = "^method= autoload"}},
    {In::ruby,
     "argument_list",
     ">",
     "import_module",
     {.name = "string_content", .when = "^method= autoload"}},
    {In::ruby, "class", "superclass", "type"},
    {In::ruby,
     "argument_list",
     "<",
     "type",
     {.name = "constant", .when = "^receiver= Class; ^method= new"}},
    {In::ruby,
     "argument_list",
     "<",
     "type",
     {.name = "constant", .when = "^method= raise fail; !^receiver"}},
    {In::ruby, "binary", "left", "type", {.name = "constant", .when = "operator= ==="}},
    {In::ruby, "call", "receiver", "type", {.name = "constant", .when = "method= new"}},
    {In::ruby,
     "argument_list",
     "",
     "type",
     {.name = "constant", .when = "^method= include extend prepend is_a? kind_of? instance_of?"}},
    {In::ruby, "exceptions", "", "type", {.name = "constant"}},
    {In::ruby, "pattern", "", "type", {.name = "constant", .when = "!~ upper"}},
    {In::ruby, "in_clause", "pattern", "type", {.name = "constant", .when = "!pattern~ upper"}},
    {In::ruby, "array_pattern find_pattern hash_pattern", "class", "type"},
    {In::ruby,
     "as_pattern keyword_pattern",
     "value",
     "type",
     {.name = "constant", .when = "!value~ upper"}},
    {In::ruby,
     "alternative_pattern array_pattern find_pattern",
     "",
     "type",
     {.name = "constant", .when = "!~ upper"}},

    // ---- PHP
    {In::php,
     "function_call_expression",
     "function",
     "call",
     {.when = "!function: variable_name; !function/<: variable_name"}},
    {In::php,
     "function_call_expression",
     "function",
     "call",
     {.name = "variable_name", .reading = Reading::whole}},
    {In::php,
     "member_call_expression nullsafe_member_call_expression scoped_call_expression",
     "name",
     "call",
     {.when = "!name: variable_name"}},
    {In::php,
     "member_call_expression nullsafe_member_call_expression scoped_call_expression",
     "name",
     "call",
     {.name = "variable_name", .reading = Reading::whole}},
    {In::php,
     "object_creation_expression",
     "<",
     "call type",
     {.when = "<: name qualified_name relative_name"}},
    {In::php, "attribute", "<", "call type"},
    {In::php, "named_type base_clause class_interface_clause use_declaration", "", "type"},
    {In::php, "use_instead_of_clause", ">", "type"},
    {In::php,
     "scoped_call_expression scoped_property_access_expression",
     "scope",
     "type",
     {.when = "scope: name qualified_name relative_name"}},
    {In::php,
     "class_constant_access_expression",
     "<",
     "type",
     {.when = "<: name qualified_name relative_name"}},
    {In::php,
     "binary_expression",
     "right",
     "type",
     {.when = "operator: instanceof; right: name qualified_name relative_name"}},
    {In::php, "namespace_use_clause", "", "import"},
    {In::php,
     "namespace_use_clause",
     "<",
     "import_module",
     {.name = "name qualified_name", .when = "!^: namespace_use_group", .reading = Reading::whole}},
    {In::php,
     "namespace_use_declaration",
     "",
     "import_module",
     {.name = "namespace_name", .reading = Reading::whole}},
    {In::php,
     "string encapsed_string",
     "<",
     "import_module",
     {.name = "string_content",
      .within = "include",
      .when = "!<= .php .inc .inc.php .class.php .phtml; !variable_name dynamic_variable_name "
              "member_access_expression subscript_expression; "
              "!^left: string encapsed_string binary_expression; !^^: binary_expression"}},

    // ---- SQL
    {In::sql, "invocation", "<", "call"},
    {In::sql, "create_trigger", "keyword_function keyword_procedure+object_reference", "call"},
    {In::sql, "create_trigger", "keyword_on keyword_from+object_reference", "type"},
    {In::sql, "comment_statement", "keyword_table keyword_view keyword_type+object_reference",
     "type"},
    {In::sql, "relation from statement insert create_index drop_index", "object_reference", "type"},
    {In::sql, "alter_table alter_view alter_type drop_table drop_view drop_type",
     "object_reference", "type"},
    {In::sql, "constraint column_definition function_argument", "object_reference", "type"},
    {In::sql, "cast alter_column function_declaration", "object_reference", "type"},
    {In::sql, "create_function", "custom_type", "type"},
    {In::sql, "create_sequence", "keyword_as+object_reference", "type"},

    // ---- JavaScript, TypeScript
    {In::script, "call_expression", "function", "call"},
    {In::script, "new_expression", "constructor", "call type"},
    {In::script, "decorator", "<", "call"},
    // An element in lower case is one of the page.
    {In::javascript | In::tsx,
     "jsx_opening_element jsx_self_closing_element",
     "name",
     "call",
     {.is_upper_case = true}},
    {In::script, "import_specifier", "", "import"},
    {In::script, "import_clause namespace_import", "", "import"},
    {In::script, "export_specifier namespace_export", "", "import", {.within = "re-export"}},
    {In::script, "import_statement export_statement", "source", "import_module"},
    {In::script,
     "arguments",
     "<",
     "import_module",
     {.name = "string_fragment", .when = "^function= require require.resolve import"}},
    {In::typed_script, "import_require_clause", "<", "import"},
    {In::typed_script, "import_require_clause", "source", "import_module"},
    {In::typed_script, "import_alias", "<", "import"},
    {In::typed_script, "import_alias", ">", "import", {.reading = Reading::last}},
    {In::script, "binary_expression", "right", "type", {.when = "operator= instanceof"}},
    {In::typed_script, "extends_clause", "value", "type"},
    {In::javascript, "class_heritage", "", "type"},
    {In::typed_script, "class_declaration abstract_class_declaration class", "name", ""},
    {In::typed_script, "interface_declaration type_alias_declaration type_parameter", "name", ""},
    {In::typed_script, "mapped_type_clause", "name", ""},
    {In::typed_script, "infer_type", "<", ""},
    // `import("m").T`
    {In::typed_script,
     "type_annotation opting_type_annotation omitting_type_annotation adding_type_annotation "
     "type_arguments array_type union_type intersection_type function_type conditional_type "
     "readonly_type parenthesized_type type_alias_declaration constraint default_type",
     "",
     "type",
     {.name = "property_identifier"}},
    {In::typed_script,
     "as_expression satisfies_expression",
     ">",
     "type",
     {.name = "property_identifier"}},
    {In::typed_script, "*", "", "type", {.name = "type_identifier"}},
};

// Nodes within which names are used in a special way. The innermost region around a name counts.
struct RegionRow {
  In languages;
  std::string_view types;
  std::string_view region;
  std::string_view when = "";
};

inline constexpr RegionRow REGION_ROWS[] = {
    {In::python, "type", "type"},
    {In::python, "assignment", "type", "type= TypeAlias typing.TypeAlias t.TypeAlias"},
    {In::python, "argument_list", "type", "^: class_definition"},
    {In::python, "argument_list", "instance", "^function= isinstance issubclass"},
    {In::python, "argument_list", "arguments"},
    {In::php,
     "include_expression include_once_expression require_expression require_once_expression",
     "include"},
    {In::php, "arguments subscript_expression", "arguments"},
    {In::rust, "use_declaration", "use"},
    {In::csharp, "member_access_expression", "pattern", "expression: is_pattern_expression"},
    {In::csharp, "member_access_expression", "pattern",
     "expression/expression: is_pattern_expression"},
    {In::csharp, "is_pattern_expression", "operand"},
    {In::script, "export_statement", "re-export", "source"},
};

// Nodes that begin with a path to which all other paths in them are relative: `a::{b::C, d::E}`.
struct GroupRow {
  In languages;
  std::string_view types;
  std::string_view separator;
};

inline constexpr GroupRow GROUP_ROWS[] = {
    {In::rust, "scoped_use_list", "::"},
};

// Built-in types whose nodes are of the same types as those of others. They give no references.
struct BuiltinRow {
  In languages;
  std::string_view names;
};

inline constexpr BuiltinRow BUILTIN_ROWS[] = {
    {In::python,
     "bool bytearray bytes complex dict float frozenset int list memoryview object range set slice "
     "str tuple type"},
    {In::java, "super var"},  // `T.super::f`
    // Types that the grammar does not know, in lower and in upper case.
    {In::sql,
     "any anyarray anyelement blob bool clob cstring float4 int2 int4 int8 integer internal "
     "longblob longtext mediumblob mediumtext nclob number nvarchar2 record tinyblob tinytext "
     "tsquery tsvector varchar2 void year"},
    {In::sql,
     "BLOB BOOL CLOB FLOAT4 INT2 INT4 INT8 INTEGER LONGBLOB LONGTEXT MEDIUMBLOB MEDIUMTEXT NCLOB "
     "NUMBER NVARCHAR2 RECORD TINYBLOB TINYTEXT VARCHAR2 VOID YEAR"},
    {In::csharp, "dynamic notnull unmanaged var case else"},  // the last two come from broken text
    {In::php, "parent self static"},
    {In::typed_script, "bigint"},
    {In::go,
     "any bool byte comparable complex64 complex128 error float32 float64 int int8 int16 int32 "
     "int64 nil rune string uint uint8 uint16 uint32 uint64 uintptr _"},
    {In::rust, "Err None Ok Self Some _"},
};

}  // namespace engines::treesitter
