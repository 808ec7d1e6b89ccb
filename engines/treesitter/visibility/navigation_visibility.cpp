// Whether a declaration is seen outside its file, under the navigation rules: what the language's
// own convention says, in a table.
//
// A question costs the first modifiers of the declaration's holder (core/holder.h).
//
// Tested by tests/navigation_test.cpp.
#include <algorithm>
#include <string_view>

#include "engines/treesitter/core/holder.h"
#include "engines/treesitter/core/node.h"
#include "engines/treesitter/core/text.h"
#include "engines/treesitter/treesitter.h"
#include "engines/treesitter/visibility/export_lists.h"

namespace engines::treesitter {
namespace {

// The first row that holds decides. Where none does, it is the opposite of what the last one says.
enum class Sign : std::uint8_t {
  modifier,     // the holder has one of these modifiers
  name_prefix,  // the name begins with one of these
  upper_case,   // the name begins in upper case
  itself,       // the declaration is of one of these types
  within,       // the holder's parent is of one of these types
  member,       // the parent of the holder's parent is
  owner_field,  // that one has one of these fields in its head
  below,        // right above it stands a node of the first type that has the second text in it
  scope,        // the nearest scope (core/syntax_tree.h) is of one of these types
  listed,       // the file's list of exports (export_lists.h) holds it
  unlisted,     // it does not, though there is one
  local,        // it stands within a function
  hidden,       // a word beside it hides it (hiding_words.h)
  in_visible,   // it is declared in something that is visible
  in_hidden,    // it is declared in something that is not
};

struct VisibilityRow {
  In languages;
  bool shows;
  Sign sign;
  std::string_view values = "";
};

constexpr VisibilityRow ROWS[] = {
    {In::python, true, Sign::listed},
    {In::python, false, Sign::unlisted},
    {In::python, false, Sign::local},
    {In::python, false, Sign::in_hidden},
    {In::python, false, Sign::name_prefix, "_"},
    {In::ruby, false, Sign::hidden},
    {In::java, false, Sign::modifier, "private"},
    {In::java, true, Sign::modifier, "public"},
    {In::java, true, Sign::within, "interface_body annotation_type_body enum_body"},
    {In::java, true, Sign::within, "spread_parameter"},  // of a record: a public accessor
    {In::java, true, Sign::itself, "package_declaration module_declaration formal_parameter"},
    {In::csharp, false, Sign::modifier, "private protected internal"},
    {In::csharp, true, Sign::modifier, "public"},
    {In::csharp, true, Sign::member, "interface_declaration"},
    {In::csharp, true, Sign::itself, "enum_member_declaration"},
    {In::csharp, true, Sign::itself, "namespace_declaration file_scoped_namespace_declaration"},
    {In::csharp, true, Sign::itself, "parameter parameter_list"},  // of a record: public properties
    {In::go, false, Sign::local},
    {In::go, true, Sign::itself, "package_clause"},
    {In::go, true, Sign::upper_case},
    {In::rust, false, Sign::local},
    {In::rust, false, Sign::modifier, "pub(self)"},
    {In::rust, true, Sign::modifier, "pub"},
    {In::rust, true, Sign::member, "trait_item enum_variant"},
    {In::rust, true, Sign::owner_field, "trait"},
    {In::rust, true, Sign::itself, "impl_item enum_variant"},
    {In::rust, true, Sign::below, "attribute_item macro_export"},
    {In::script, false, Sign::modifier, "private protected"},
    {In::script, false, Sign::name_prefix, "#"},
    {In::script, true, Sign::listed},
    {In::script, false, Sign::local},
    {In::script, true, Sign::in_visible},
    {In::script, true, Sign::scope, "export_statement"},
};

// A head has fewer parts than this, unless the file was made so.
constexpr int MOST_PARTS = 64;

bool begins_with(const Node& owner, std::string_view field) {
  const std::uint16_t id = owner.tree().language().field_id(field);
  int seen = 0;
  for (const Node part : owner.children()) {
    if (part.field() == id) return true;
    if (++seen == MOST_PARTS) break;
  }
  return false;
}

// Ends at the declaration before, so that those of a file together look at each node once.
bool stands_below(const Node& holder, std::string_view type, std::string_view text) {
  for (auto above = holder.previous_record(); above; above = above->previous_record()) {
    if (above->type_text() == type) {
      if (above->bytes().find(text) != std::string_view::npos) return true;
    } else if (!is_comment(*above)) {
      break;
    }
  }
  return false;
}

bool has_sign(const VisibilityRow& row, const Node& node, const Node& holder, std::string_view name,
              const Holders& holders, const Surroundings& surroundings) {
  const std::vector<std::string_view> values = split_whitespace(row.values);
  const auto is_any = [&](auto&& holds) {
    return std::any_of(values.begin(), values.end(), holds);
  };
  const std::optional<Node> parent = holder.parent();
  const std::optional<Node> owner = parent ? parent->parent() : std::nullopt;
  const auto is_typed = [&](const std::optional<Node>& each) {
    return each && is_one_of(each->type_text(), values);
  };
  switch (row.sign) {
    case Sign::modifier:
      return is_any([&](std::string_view word) { return holders.has_modifier(holder, word); });
    case Sign::name_prefix:
      return is_any([&](std::string_view prefix) { return name.starts_with(prefix); });
    case Sign::upper_case:
      return is_upper(first(name, 1));
    case Sign::itself:
      return is_typed(node);
    case Sign::within:
      return is_typed(parent);
    case Sign::member:
      return is_typed(owner);
    case Sign::owner_field:
      return owner && is_any([&](std::string_view field) { return begins_with(*owner, field); });
    case Sign::below:
      return stands_below(holder, values.at(0), values.at(1));
    case Sign::scope:
      return is_typed(node.scope());
    case Sign::listed:
      return surroundings.is_listed;
    case Sign::unlisted:
      return surroundings.is_unlisted;
    case Sign::local:
      return surroundings.is_local;
    case Sign::hidden:
      return surroundings.is_hidden;
    case Sign::in_visible:
      return surroundings.is_in_visible;
    case Sign::in_hidden:
      return surroundings.is_in_hidden;
  }
  return false;
}

}  // namespace

bool TreeSitterEngine::_is_visible(const Node& node, const Node& holder, std::string_view name,
                                   const Surroundings& surroundings) {
  const languages::Language& language = node.tree().language();
  const Holders& holders = table_of<Holders>(language);
  bool is_shown = true;
  for (const VisibilityRow& row : ROWS) {
    if (!speaks_of(row.languages, language.name())) continue;
    const bool holds = has_sign(row, node, holder, name, holders, surroundings);
    if (holds) return row.shows;
    is_shown = !row.shows;
  }
  return is_shown;
}

}  // namespace engines::treesitter
