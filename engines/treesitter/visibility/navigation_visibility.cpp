// Whether a declaration is visible outside its file under the navigation rules, by a table of the
// languages' conventions.
//
// A look-up costs the modifiers of the declaration's holder (navigation/holder.h), and few steps
// beside.
//
// Tested by the navigation cases in tests/golden.
#include <algorithm>
#include <cstdint>
#include <memory>
#include <optional>
#include <string_view>
#include <vector>

#include "engines/treesitter/navigation/condition.h"
#include "engines/treesitter/navigation/holder.h"
#include "engines/treesitter/navigation/surroundings.h"
#include "engines/treesitter/parsing/node.h"
#include "engines/treesitter/text/text.h"
#include "engines/treesitter/treesitter.h"
#include "engines/treesitter/visibility/export_lists.h"
#include "engines/treesitter/visibility/hiding_words.h"

namespace engines::treesitter {

// The parts of a file that say which of its declarations are visible outside it. Read once per
// file.
class FileVisibility {
 public:
  explicit FileVisibility(const Node& root) : exports(root), hiding_words(root) {}

  const ExportList exports;
  const HidingWords hiding_words;
};

namespace {

// The sign that a row asks for. The first row that holds decides. If none holds, the result is the
// opposite of the last row's.
enum class Sign : std::uint8_t {
  modifier,     // the holder has one of these modifiers
  name_prefix,  // the name begins with one of these
  upper_case,   // the name begins in upper case
  itself,       // the declaration is of one of these types
  held,         // the holder is of one of these types
  within,       // the holder's parent is of one of these types
  member,       // the parent of the holder's parent is of one of these types
  around,       // one of the nodes around the holder is of one of these types, up to MOST_AROUND
  owner_field,  // the parent of the holder's parent has one of these fields
  below,        // above it is a node of the first type that contains the second text
  scope,        // the nearest scope (parsing/syntax_tree.h) is of one of these types
  listed,       // the file's list of exports (export_lists.h) contains it
  unlisted,     // the file has a list of exports that does not contain it
  local,        // it is within a function
  hidden,       // a word beside it hides it (hiding_words.h)
  in_visible,   // the declaration around it is visible
  in_hidden,    // the declaration around it is not visible
};

struct VisibilityRow {
  In languages;
  bool shows;
  Sign sign;
  std::string_view values = "";
  std::string_view when = "";  // asked of the declaration (navigation/condition.h)
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
    {In::php, false, Sign::modifier, "private protected"},
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
    {In::typed_script, true, Sign::held, "export_statement"},
    {In::typed_script, true, Sign::itself, "module", "name: string"},  // any file may import it
    {In::typed_script, false, Sign::in_hidden},
    {In::typed_script, true, Sign::around, "ambient_declaration"},  // exports everything in it
    {In::typed_script, false, Sign::member, "internal_module module"},
    {In::script, true, Sign::in_visible},
    {In::script, true, Sign::scope, "export_statement"},
};

// Nobody writes more children in front of a body than this.
constexpr int MOST_PARTS = 64;

// Ends at the previous declaration, so all searches in a file together visit each node once.
bool stands_below(const Node& holder, const SymbolSet& types, std::string_view text) {
  for (auto above = holder.previous_record(); above; above = above->previous_record()) {
    if (types.contains(above->symbol())) {
      if (above->bytes().find(text) != std::string_view::npos) return true;
    } else if (!is_comment(*above)) {
      break;
    }
  }
  return false;
}

// Nobody nests declarations deeper than this many nodes by hand.
constexpr int MOST_AROUND = 16;

bool stands_within(const Node& holder, const SymbolSet& types) {
  std::optional<Node> around = holder.parent();
  for (int i = 0; around && i < MOST_AROUND; ++i, around = around->parent()) {
    if (types.contains(around->symbol())) return true;
  }
  return false;
}

// A row, translated for a language.
class VisibilitySign {
 public:
  VisibilitySign(const languages::Language& language, const VisibilityRow& row)
      : shows(row.shows),
        _sign(row.sign),
        _texts(split_whitespace(row.values)),
        _types(language, row.values),
        _conditions(language, row.when) {
    for (const std::string_view text : _texts) _fields.push_back(language.field_id(text));
  }

  bool holds(const Node& node, const Node& holder, std::string_view name, const Holders& holders,
             const Surroundings& around) const {
    if (!_conditions.hold(node)) return false;
    switch (_sign) {
      case Sign::modifier:
        return is_any([&](std::string_view word) { return holders.has_modifier(holder, word); });
      case Sign::name_prefix:
        return is_any([&](std::string_view prefix) { return name.starts_with(prefix); });
      case Sign::upper_case:
        return is_upper(first(name, 1));
      case Sign::itself:
        return _types.contains(node.symbol());
      case Sign::held:
        return _types.contains(holder.symbol());
      case Sign::within:
        return is_typed(holder.parent());
      case Sign::member:
        return is_typed(owner(holder));
      case Sign::around:
        return stands_within(holder, _types);
      case Sign::owner_field:
        return has_field(owner(holder));
      case Sign::below:
        return stands_below(holder, _types, _texts.back());
      case Sign::scope:
        return is_typed(node.scope());
      case Sign::listed:
        return may_be_listed(around) && is_listed(name, around);
      case Sign::unlisted:
        return may_be_listed(around) && !is_listed(name, around);
      case Sign::local:
        return around.is_local;
      case Sign::hidden:
        return around.file.hiding_words.hide(node, name);
      case Sign::in_visible:
        return around.is_owner_visible == true;
      case Sign::in_hidden:
        return around.is_owner_visible == false;
    }
    return false;
  }

  const bool shows;

 private:
  template <typename Holds>
  bool is_any(Holds holds) const {
    return std::any_of(_texts.begin(), _texts.end(), holds);
  }

  bool is_typed(const std::optional<Node>& node) const {
    return node && _types.contains(node->symbol());
  }

  static std::optional<Node> owner(const Node& holder) {
    const std::optional<Node> parent = holder.parent();
    return parent ? parent->parent() : std::nullopt;
  }

  bool has_field(const std::optional<Node>& node) const {
    if (!node) return false;
    int seen = 0;
    for (const Node part : node->children()) {
      if (is_one_of(part.field(), _fields)) return true;
      if (++seen == MOST_PARTS) break;
    }
    return false;
  }

  static bool may_be_listed(const Surroundings& around) {
    return around.is_at_top && around.file.exports.is_there();
  }

  // A member is listed if its owner is.
  static bool is_listed(std::string_view name, const Surroundings& around) {
    const std::string_view owner = around.qualified_name.substr(0, around.qualified_name.find('.'));
    return around.file.exports.contains(name) || around.file.exports.contains(owner);
  }

  Sign _sign;
  std::vector<std::string_view> _texts;
  SymbolSet _types;                    // the texts that are types
  std::vector<std::uint16_t> _fields;  // the texts as fields; 0 for those that are none
  Conditions _conditions;
};

struct VisibilitySigns {
  explicit VisibilitySigns(const languages::Language& language) : holders(language) {
    for (const VisibilityRow& row : ROWS) {
      if (speaks_of(row.languages, language.name())) signs.emplace_back(language, row);
    }
  }

  Holders holders;
  std::vector<VisibilitySign> signs;
};

}  // namespace

bool TreeSitterEngine::_is_visible(const Node& node, const Node& holder, std::string_view name,
                                   const Surroundings& surroundings) {
  const auto& [holders, signs] = table_of<VisibilitySigns>(node.tree().language());
  for (const VisibilitySign& sign : signs) {
    if (sign.holds(node, holder, name, holders, surroundings)) return sign.shows;
  }
  return signs.empty() || !signs.back().shows;
}

std::shared_ptr<const FileVisibility> TreeSitterEngine::_read_visibility(const Node& root) {
  return std::make_shared<const FileVisibility>(root);
}

}  // namespace engines::treesitter
