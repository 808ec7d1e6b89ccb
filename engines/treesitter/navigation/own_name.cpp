// See own_name.h.
#include "engines/treesitter/navigation/own_name.h"

#include <algorithm>
#include <string>
#include <string_view>

#include "engines/treesitter/reading/source.h"
#include "engines/treesitter/text/text.h"

namespace engines::treesitter {
namespace {

struct NameRow {
  In languages;
  std::string_view types;
  std::string_view place;  // of the child that has the name of such a node (Place)
};

constexpr NameRow NAME_ROWS[] = {
    // ---- Python
    {In::python, "identifier string_content", "."},
    {In::python, "attribute", "attribute"},
    {In::python, "dotted_name member_type", ">"},
    {In::python, "parenthesized_expression type generic_type", "<"},

    // ---- Java
    {In::java, "identifier type_identifier this super", "."},
    {In::java, "scoped_identifier", "name"},
    {In::java, "field_access", "field"},  // `Map.Entry::new`
    {In::java, "scoped_type_identifier annotated_type", ">"},
    {In::java, "generic_type parenthesized_expression", "<"},
    {In::java, "array_type", "element"},

    // ---- Go
    {In::go, "identifier type_identifier field_identifier package_identifier", "."},
    {In::go, "interpreted_string_literal raw_string_literal", "<"},
    {In::go, "interpreted_string_literal_content raw_string_literal_content", "."},
    {In::go, "qualified_type", "name"},
    {In::go, "generic_type", "type"},
    {In::go, "selector_expression", "field"},
    {In::go, "pointer_type parenthesized_type parenthesized_expression parameter_list", "<"},
    {In::go, "parameter_declaration type_instantiation_expression", "type"},
    {In::go, "index_expression", "operand"},  // `f[int](x)`

    // ---- Rust
    {In::rust, "identifier type_identifier field_identifier primitive_type metavariable", "."},
    {In::rust, "scoped_identifier scoped_type_identifier", "name"},
    {In::rust, "generic_type generic_type_with_turbofish higher_ranked_trait_bound", "type"},
    {In::rust, "reference_type pointer_type", "type"},
    {In::rust, "dynamic_type abstract_type", "trait"},
    {In::rust, "generic_function", "function"},
    {In::rust, "field_expression", "field"},
    {In::rust, "bounded_type parenthesized_expression unary_expression", "<"},

    // ---- C#
    {In::csharp, "identifier", "."},
    {In::csharp, "qualified_name alias_qualified_name", "name"},
    {In::csharp, "member_access_expression member_binding_expression", "name"},
    {In::csharp, "conditional_access_expression", ">"},
    {In::csharp, "generic_name parenthesized_expression postfix_unary_expression", "<"},
    {In::csharp, "binary_expression", "left"},  // what `x is T && y` asks for
    {In::csharp, "array_type nullable_type pointer_type ref_type scoped_type", "type"},

    // ---- Ruby
    {In::ruby, "identifier constant setter operator super simple_symbol string_content", "."},
    {In::ruby, "bare_symbol instance_variable class_variable global_variable", "."},
    {In::ruby, "scope_resolution", "name"},
    {In::ruby, "string delimited_symbol superclass", "<"},

    // ---- PHP
    {In::php, "name string_content", "."},
    {In::php, "qualified_name relative_name", ">"},
    {In::php, "variable_name by_ref parenthesized_expression", "<"},
    {In::php, "member_access_expression nullsafe_member_access_expression", "name"},
    {In::php, "scoped_property_access_expression", "name"},

    // ---- SQL
    {In::sql, "identifier literal", "."},
    {In::sql, "object_reference", "name"},

    // ---- JavaScript, TypeScript
    {In::script, "identifier property_identifier private_property_identifier", "."},
    {In::script, "shorthand_property_identifier statement_identifier number", "."},
    {In::script, "shorthand_property_identifier_pattern string_fragment super", "."},
    {In::typed_script, "type_identifier", "."},
    {In::script, "member_expression", "property"},
    {In::script, "string parenthesized_expression await_expression", "<"},
    {In::script, "sequence_expression", ">"},  // `(0, f)()`
    {In::script, "pair_pattern", "value"},
    {In::script, "object_assignment_pattern assignment_pattern", "left"},
    {In::script, "rest_pattern", "<"},
    {In::typed_script, "non_null_expression as_expression satisfies_expression", "<"},
    {In::typescript, "type_assertion", ">"},
    {In::typed_script, "instantiation_expression", "function"},
    {In::typed_script, "generic_type nested_type_identifier", "name"},
    {In::typed_script, "nested_identifier", "."},
};

// The quotes around a name.
constexpr char QUOTES[] = {'"', '\'', '`'};

// Nobody writes more keywords, signs and comments beside a child than this.
constexpr int MOST_TOKENS = 8;

// Whether the node has no named sibling on that side but comments.
bool is_outermost(Node child, std::optional<Node> (Node::*next)() const) {
  for (int i = 0; i < MOST_TOKENS; ++i) {
    const std::optional<Node> beside = (child.*next)();
    if (!beside) return true;
    if (beside->is_named() && !is_comment(*beside)) return false;
    child = *beside;
  }
  return false;
}

}  // namespace

Place::Place(const languages::Language& language, std::string_view text) {
  if (text == "<") {
    kind = Kind::first;
  } else if (text == ">") {
    kind = Kind::last;
  } else if (text == ".") {
    kind = Kind::itself;
  } else if (const std::uint16_t id = language.field_id(text); id != 0) {
    kind = Kind::field;
    field = static_cast<std::uint8_t>(id);
  } else {
    if (text.starts_with('\'')) text.remove_prefix(1);
    for (std::size_t end = text.find('+'); end != std::string_view::npos; end = text.find('+')) {
      before.insert(before.begin(), SymbolSet(language, text.substr(0, end)));
      text.remove_prefix(end + 1);
    }
    types = SymbolSet(language, text);
    if (!types.empty()) kind = Kind::type;
  }
}

std::optional<Node> Place::in(const Node& node) const {
  std::optional<Node> found;
  if (kind == Kind::itself) return node;
  if (kind == Kind::nowhere) return found;
  for (const Node child : node.children()) {
    if (kind == Kind::type || kind == Kind::field) {
      if (holds(child)) return child;
      continue;
    }
    if (!child.is_named() || is_comment(child)) continue;
    found = child;
    if (kind != Kind::last) break;
  }
  return found;
}

bool Place::holds(const Node& child) const {
  if (kind == Kind::field) return child.field() == field;
  if (kind == Kind::type) {
    if (!types.contains(child.symbol())) return false;
    std::optional<Node> beside = child;
    return std::all_of(before.begin(), before.end(), [&](const SymbolSet& each) {
      beside = beside->previous_record();
      return beside && each.contains(beside->symbol());
    });
  }
  if (kind == Kind::first) return is_outermost(child, &Node::previous_record);
  if (kind == Kind::last) return is_outermost(child, &Node::next_sibling);
  return false;
}

Path::Path(const languages::Language& language, std::string_view text) {
  if (text.empty()) return;
  for (const std::string_view place : split(text, '/')) _places.emplace_back(language, place);
}

std::optional<Node> Path::in(const Node& node) const {
  std::optional<Node> found;
  for (const Place& place : _places) {
    found = place.in(found.value_or(node));
    if (!found) break;
  }
  return found;
}

OwnNames::OwnNames(const languages::Language& language) : _places(language) {
  for (const NameRow& row : NAME_ROWS) {
    if (!speaks_of(row.languages, language.name())) continue;
    for (const std::uint16_t symbol : SymbolSet(language, row.types)) {
      if (language.is_named(symbol)) _places.at(symbol) = Place(language, row.place);
    }
  }
}

Node OwnNames::end(Node node) const {
  while (true) {
    const Place& place = _places[node.symbol()];
    if (place.kind == Place::Kind::itself) return node;
    const std::optional<Node> next = place.in(node);
    if (!next) return node;
    node = *next;
  }
}

std::optional<Node> OwnNames::carrier(const Node& node) const {
  const Node last = end(node);
  if (!is_carrier(last.symbol())) return std::nullopt;
  return last;
}

Node OwnNames::whole(Node carrier) const {
  std::optional<Node> parent = carrier.parent();
  while (parent && _places[parent->symbol()].holds(carrier)) {
    carrier = *parent;
    parent = carrier.parent();
  }
  return carrier;
}

std::string OwnNames::text(const Node& carrier) {
  std::string storage;
  return std::string(without_marks(
      carrier.tree().source().decoded(carrier.start_byte(), carrier.end_byte(), storage)));
}

std::string_view without_marks(std::string_view text) {
  if (text.starts_with(':') && !text.starts_with("::")) text.remove_prefix(1);
  if (text.size() > 2 && is_one_of(text.front(), QUOTES) && text.back() == text.front()) {
    text = text.substr(1, text.size() - 2);
  }
  return text;
}

std::string dotted(std::string_view text) {
  std::string result;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const bool is_separator = text[i] == '\\' || text.substr(i, 2) == "::";
    if (is_separator && text[i] == ':') ++i;
    if (!is_separator) {
      result.push_back(text[i]);
    } else if (!result.empty()) {
      result.push_back('.');
    }
  }
  return result;
}

}  // namespace engines::treesitter
