// See export_lists.h. A list may contain names that the file does not declare; they have no effect.
#include "engines/treesitter/visibility/export_lists.h"

#include <optional>
#include <vector>

#include "engines/treesitter/navigation/condition.h"
#include "engines/treesitter/navigation/grammar_rows.h"
#include "engines/treesitter/navigation/own_name.h"

namespace engines::treesitter {
namespace {

// A list and the names in it. All rows that hold for a node count.
struct ListRow {
  In languages;
  std::string_view types;
  std::string_view when;  // navigation/condition.h
  // The path to the name (navigation/own_name.h). Empty for nodes in which no list counts.
  std::string_view name;
  // If not empty: the names are in the children, of these types, of the node at `name`, for which
  // the condition holds, at this place in each.
  std::string_view each = "";
  std::string_view place_in_each = ".";
  std::string_view when_each = "";
};

constexpr ListRow LIST_ROWS[] = {
    // ---- Python
    {In::python, "assignment augmented_assignment", "left= __all__; right: list tuple", "right",
     "string", "string_content"},
    {In::python, "assignment augmented_assignment",
     "left= __all__; right: binary_operator; right/left: list tuple", "right/left", "string",
     "string_content"},
    {In::python, "call", "function= __all__.extend; arguments/<: list tuple", "arguments/<",
     "string", "string_content"},
    {In::python, "call", "function= __all__.append", "arguments", "string", "string_content"},

    // ---- JavaScript, TypeScript
    {In::script, "export_statement", "source", ""},  // exports names of another file
    {In::script, "export_specifier", "", "name"},
    {In::script, "export_statement", "value: identifier", "value"},
    // Listed too, since members that are assigned to a name elsewhere are as visible as the name.
    {In::script, "export_statement",
     "^: program; declaration: function_declaration generator_function_declaration "
     "class_declaration",
     "declaration/name"},
    {In::script, "export_statement",
     "^: program; declaration: lexical_declaration variable_declaration", "declaration",
     "variable_declarator", "name"},
    {In::typed_script, "export_statement", "!declaration; >: identifier", ">"},
    {In::script, "member_expression", "object= exports module.exports", "property"},
    {In::script, "assignment_expression", "left= exports module.exports", "left"},
    {In::script, "assignment_expression", "left= exports module.exports; right: identifier",
     "right"},
    {In::script, "assignment_expression",
     "left= exports module.exports; right: class function_expression generator_function",
     "right/name"},
    {In::script, "assignment_expression", "left= exports module.exports; right: object", "right",
     "shorthand_property_identifier"},
    {In::script, "assignment_expression", "left= exports module.exports; right: object", "right",
     "pair", "key"},
    {In::script, "assignment_expression", "left= exports module.exports; right: object", "right",
     "pair", "value", "value: identifier"},
    {In::script, "assignment_expression", "left= exports module.exports; right: object", "right",
     "method_definition", "name"},
};

// A row, translated for a language.
struct List {
  List(const languages::Language& language, const ListRow& row)
      : conditions(language, row.when),
        name(language, row.name),
        each(language, row.each),
        place_in_each(language, row.place_in_each),
        conditions_of_each(language, row.when_each) {}

  bool is_empty() const { return name.is_empty(); }

  // Calls `add` with the node of each name.
  template <typename Add>
  void names(const Node& node, Add add) const {
    const std::optional<Node> place = name.in(node);
    if (!place) return;
    if (each.empty()) return add(*place);
    for (const Node child : place->children()) {
      if (!each.contains(child.symbol()) || !conditions_of_each.hold(child)) continue;
      if (const auto found = place_in_each.in(child)) add(*found);
    }
  }

  Conditions conditions;
  Path name;
  SymbolSet each;
  Path place_in_each;
  Conditions conditions_of_each;
};

struct Lists {
  explicit Lists(const languages::Language& language)
      : own_names(language), rows(language), is_list(language) {
    for (const ListRow& row : LIST_ROWS) {
      if (!speaks_of(row.languages, language.name())) continue;
      for (const std::uint16_t symbol : SymbolSet(language, row.types)) {
        if (!language.is_named(symbol)) continue;
        rows.at(symbol).emplace_back(language, row);
        is_list.at(symbol) = 1;
        is_empty = false;
      }
    }
  }

  OwnNames own_names;
  BySymbol<std::vector<List>> rows;
  BySymbol<std::uint8_t> is_list;  // whether there are rows
  bool is_empty = true;
};

}  // namespace

ExportList::ExportList(const Node& root) {
  const SyntaxTree& tree = root.tree();
  const Lists& lists = table_of<Lists>(tree.language());
  if (lists.is_empty) return;
  const auto add = [&](const Node& place) {
    if (const auto carrier = lists.own_names.carrier(place)) {
      _names.insert(OwnNames::text(*carrier));
    }
  };
  std::uint32_t checked = 0;
  for (std::uint32_t index = root.index(); index < tree.size();) {
    if (++checked % NODES_PER_CHECK == 0) tree.source().check_cancelled();
    const Node node(tree, index++);
    if (lists.is_list[node.symbol()] == 0) continue;
    for (const List& list : lists.rows[node.symbol()]) {
      if (!list.conditions.hold(node)) continue;
      if (list.is_empty()) {
        index = tree.record(node.index()).subtree_end;
        break;
      }
      _is_there = true;
      list.names(node, add);
    }
  }
}

}  // namespace engines::treesitter
