// The references of all languages under the standard rules, by the type of the node.
//
// Tested by tests/references_test.cpp.
#pragma once

#include <cstdint>

#include "engines/languages/node_types.h"

namespace engines::treesitter {

// How a node refers to something. A type has one row only, which reference_walk.cpp checks.
enum class Use : std::uint8_t { none, call, import, type, alias, member };

struct StandardUseRow {
  languages::NodeType type;
  Use use;
};

inline constexpr StandardUseRow STANDARD_USES[] = {
    {languages::NodeType::call, Use::call},                      // Python, Ruby
    {languages::NodeType::call_expression, Use::call},           // JavaScript, TypeScript, Go, Rust
    {languages::NodeType::function_call_expression, Use::call},  // PHP
    {languages::NodeType::invocation_expression, Use::call},     // C#
    {languages::NodeType::macro_invocation, Use::call},          // Rust
    {languages::NodeType::member_call_expression, Use::call},    // PHP
    {languages::NodeType::method_invocation, Use::call},         // Java

    {languages::NodeType::import_statement, Use::import},         // Python, JavaScript, TypeScript
    {languages::NodeType::import_from_statement, Use::import},    // Python
    {languages::NodeType::import_declaration, Use::import},       // Java, Go
    {languages::NodeType::use_declaration, Use::import},          // Rust; PHP for traits
    {languages::NodeType::using_directive, Use::import},          // C#
    {languages::NodeType::include_expression, Use::import},       // PHP
    {languages::NodeType::include_once_expression, Use::import},  // PHP
    {languages::NodeType::require_expression, Use::import},       // PHP
    {languages::NodeType::require_once_expression, Use::import},  // PHP
    {languages::NodeType::require,
     Use::import},  // a keyword of PHP and TypeScript, which names nothing

    {languages::NodeType::type_identifier, Use::type},    // Java, Go, Rust, TypeScript
    {languages::NodeType::generic_type, Use::type},       // Java, Go, Rust, TypeScript, Python
    {languages::NodeType::base_list, Use::type},          // C#
    {languages::NodeType::extends_clause, Use::type},     // TypeScript
    {languages::NodeType::implements_clause, Use::type},  // TypeScript

    {languages::NodeType::alias,
     Use::alias},  // YAML; in Ruby and C# a type of that name is none of ours

    {languages::NodeType::attribute, Use::member},          // Python; elsewhere without a name
    {languages::NodeType::member_expression, Use::member},  // JavaScript, TypeScript
    {languages::NodeType::member_access_expression, Use::member},  // C#, PHP
};

}  // namespace engines::treesitter
