// Whether a node declares a symbol, and of which kind.
//
// One table serves all languages: it is keyed by the node's type alone, and the language counts
// only for Python's assignments. So an entry of a JavaScript object literal is a `pair` as JSON's
// are, and a variable.
//
// Tested by tests/symbols_test.cpp.
#include <array>

#include "engines/treesitter/core/node.h"
#include "engines/treesitter/core/text.h"
#include "engines/treesitter/treesitter.h"

namespace engines::treesitter {
namespace {

struct Mapping {
  NodeType type;
  std::string_view kind;
};

constexpr std::array<Mapping, 45> MAPPINGS = {{
    {NodeType::class_definition, "class"},               // Python
    {NodeType::function_definition, "function"},         // Python, PHP
    {NodeType::class_declaration, "class"},              // JavaScript, TypeScript, Java, C#, PHP
    {NodeType::function_declaration, "function"},        // JavaScript, TypeScript, Go
    {NodeType::method_definition, "method"},             // JavaScript, TypeScript
    {NodeType::arrow_function, "function"},              // JavaScript, TypeScript
    {NodeType::interface_declaration, "interface"},      // TypeScript, Java, C#, PHP
    {NodeType::type_alias_declaration, "type"},          // TypeScript
    {NodeType::enum_declaration, "enum"},                // TypeScript, Java, C#, PHP
    {NodeType::method_declaration, "method"},            // Java, C#, Go, PHP
    {NodeType::constructor_declaration, "method"},       // Java, C#
    {NodeType::field_declaration, "variable"},           // Java, C#, Go, Rust
    {NodeType::annotation_type_declaration, "type"},     // Java
    {NodeType::type_declaration, "type"},                // Go
    {NodeType::struct_declaration, "class"},             // C#
    {NodeType::property_declaration, "variable"},        // C#, PHP
    {NodeType::namespace_declaration, "module"},         // C#
    {NodeType::function_item, "function"},               // Rust
    {NodeType::struct_item, "class"},                    // Rust
    {NodeType::enum_item, "enum"},                       // Rust
    {NodeType::trait_item, "interface"},                 // Rust
    {NodeType::impl_item, "class"},                      // Rust
    {NodeType::mod_item, "module"},                      // Rust
    {NodeType::const_item, "variable"},                  // Rust
    {NodeType::static_item, "variable"},                 // Rust
    {NodeType::type_item, "type"},                       // Rust
    {NodeType::class_, "class"},                         // Ruby
    {NodeType::module, "module"},                        // Ruby
    {NodeType::method, "method"},                        // Ruby
    {NodeType::singleton_method, "method"},              // Ruby
    {NodeType::trait_declaration, "interface"},          // PHP
    {NodeType::create_table_statement, "class"},         // SQL
    {NodeType::create_view_statement, "class"},          // SQL
    {NodeType::create_function_statement, "function"},   // SQL
    {NodeType::create_procedure_statement, "function"},  // no released SQL grammar has it
    {NodeType::create_index_statement, "variable"},      // SQL
    {NodeType::create_trigger_statement, "function"},    // SQL
    {NodeType::atx_heading, "function"},                 // Markdown
    {NodeType::pair, "variable"},                        // JSON, TOML
    {NodeType::block_mapping_pair, "variable"},          // YAML
    {NodeType::flow_pair, "variable"},                   // YAML
    {NodeType::anchor, "constant"},                      // YAML
    {NodeType::table, "class"},                          // TOML
    {NodeType::table_array_element, "class"},            // TOML
    {NodeType::element, "variable"},                     // XML
}};

// The same by node type, since it is asked for every node of a file.
using KindTable = std::array<std::string_view, languages::NODE_TYPE_COUNT>;

constexpr KindTable kinds_by_type() {
  KindTable kinds{};
  for (const Mapping& mapping : MAPPINGS)
    kinds[static_cast<std::size_t>(mapping.type)] = mapping.kind;
  return kinds;
}

constexpr KindTable KINDS = kinds_by_type();

bool is_constant_name(std::string_view name) {
  return name.find('_') != std::string_view::npos && is_upper(name);
}

// Module-level and class-level constants. Only functions and classes are scopes: an `if` or `try`
// around the assignment leaves it at module level.
bool is_python_constant(const Node& assignment) {
  const std::optional<Node> scope = assignment.scope();
  const bool is_module_level = !scope || (scope->type() != NodeType::function_definition &&
                                          scope->type() != NodeType::class_definition);
  if (assignment.first_child(NodeType::type)) {
    return is_module_level || scope->type() == NodeType::class_definition;
  }
  if (!is_module_level) return false;
  const std::optional<Node> target = assignment.first_child(NodeType::identifier);
  return target && is_constant_name(_node_text(*target).value_or(""));
}

}  // namespace

std::optional<std::string_view> TreeSitterEngine::_node_type_to_symbol_kind(
    const Node& node, std::string_view language) {
  if (node.type() == NodeType::assignment && language == "python") {
    if (is_python_constant(node)) return "constant";
    return std::nullopt;
  }
  const std::string_view kind = KINDS[static_cast<std::size_t>(node.type())];
  if (kind.empty()) return std::nullopt;
  return kind;
}

}  // namespace engines::treesitter
