// The declarations of all languages under the standard rules, by the type of the node alone. So an
// entry of a JavaScript object literal, which is a `pair` as in JSON, is a variable.
//
// Tested by tests/symbols_test.cpp.
#pragma once

#include <string_view>

#include "engines/languages/node_types.h"

namespace engines::treesitter {

struct StandardKindRow {
  languages::NodeType type;
  std::string_view kind;
};

inline constexpr StandardKindRow STANDARD_KINDS[] = {
    {languages::NodeType::class_definition, "class"},        // Python
    {languages::NodeType::function_definition, "function"},  // Python, PHP
    {languages::NodeType::class_declaration, "class"},  // JavaScript, TypeScript, Java, C#, PHP
    {languages::NodeType::function_declaration, "function"},       // JavaScript, TypeScript, Go
    {languages::NodeType::method_definition, "method"},            // JavaScript, TypeScript
    {languages::NodeType::arrow_function, "function"},             // JavaScript, TypeScript
    {languages::NodeType::interface_declaration, "interface"},     // TypeScript, Java, C#, PHP
    {languages::NodeType::type_alias_declaration, "type"},         // TypeScript
    {languages::NodeType::enum_declaration, "enum"},               // TypeScript, Java, C#, PHP
    {languages::NodeType::method_declaration, "method"},           // Java, C#, Go, PHP
    {languages::NodeType::constructor_declaration, "method"},      // Java, C#
    {languages::NodeType::field_declaration, "variable"},          // Java, C#, Go, Rust
    {languages::NodeType::annotation_type_declaration, "type"},    // Java
    {languages::NodeType::type_declaration, "type"},               // Go
    {languages::NodeType::struct_declaration, "class"},            // C#
    {languages::NodeType::property_declaration, "variable"},       // C#, PHP
    {languages::NodeType::namespace_declaration, "module"},        // C#
    {languages::NodeType::function_item, "function"},              // Rust
    {languages::NodeType::struct_item, "class"},                   // Rust
    {languages::NodeType::enum_item, "enum"},                      // Rust
    {languages::NodeType::trait_item, "interface"},                // Rust
    {languages::NodeType::impl_item, "class"},                     // Rust
    {languages::NodeType::mod_item, "module"},                     // Rust
    {languages::NodeType::const_item, "variable"},                 // Rust
    {languages::NodeType::static_item, "variable"},                // Rust
    {languages::NodeType::type_item, "type"},                      // Rust
    {languages::NodeType::class_, "class"},                        // Ruby
    {languages::NodeType::module, "module"},                       // Ruby
    {languages::NodeType::method, "method"},                       // Ruby
    {languages::NodeType::singleton_method, "method"},             // Ruby
    {languages::NodeType::trait_declaration, "interface"},         // PHP
    {languages::NodeType::create_table_statement, "class"},        // SQL
    {languages::NodeType::create_view_statement, "class"},         // SQL
    {languages::NodeType::create_function_statement, "function"},  // SQL
    {languages::NodeType::create_procedure_statement,
     "function"},                                                 // no released SQL grammar has it
    {languages::NodeType::create_index_statement, "variable"},    // SQL
    {languages::NodeType::create_trigger_statement, "function"},  // SQL
    {languages::NodeType::atx_heading, "function"},               // Markdown
    {languages::NodeType::pair, "variable"},                      // JSON, TOML
    {languages::NodeType::block_mapping_pair, "variable"},        // YAML
    {languages::NodeType::flow_pair, "variable"},                 // YAML
    {languages::NodeType::anchor, "constant"},                    // YAML
    {languages::NodeType::table, "class"},                        // TOML
    {languages::NodeType::table_array_element, "class"},          // TOML
    {languages::NodeType::element, "variable"},                   // XML
};

}  // namespace engines::treesitter
