// Finds the documentation of a declaration under the navigation rules, by the convention of its
// language. The comments are those above the declaration's holder (navigation/holder.h).
//
// Costs the comments above the declaration, and few steps around it.
//
// Tested by tests/navigation_test.cpp and the navigation cases in tests/golden.
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "engines/treesitter/navigation/grammar_rows.h"
#include "engines/treesitter/navigation/own_name.h"
#include "engines/treesitter/parsing/node.h"
#include "engines/treesitter/treesitter.h"

namespace engines::treesitter {
namespace {

// Where the documentation of a language is.
enum class Convention : std::uint8_t {
  block_above,         // a block comment above the holder, or above nodes that may be between
  block_or_run_above,  // the same; if there is none, run_above
  run_above,           // comments with certain beginnings (doc_runs.cpp)
  xml_above,           // comments with markup
  lines_above,         // comments directly above the line on which the holder begins
  within,              // a string at the start of the body, or behind a declaration without a body
};

struct ConventionRow {
  In languages;
  Convention convention;
};
constexpr ConventionRow CONVENTIONS[] = {
    {In::script | In::php, Convention::block_above},
    {In::java, Convention::block_or_run_above},
    {In::go | In::rust | In::sql, Convention::run_above},
    {In::csharp, Convention::xml_above},
    {In::ruby, Convention::lines_above},
    {In::python, Convention::within},
};

// Siblings that may be between a declaration and its block comment.
struct PassedRow {
  In languages;
  std::string_view types;
};
constexpr PassedRow PASSED_ROWS[] = {
    {In::typed_script, "decorator"},
};

// Children of a declaration that may be in front of its block comment.
constexpr PassedRow LED_BY_ROWS[] = {
    {In::php, "attribute_list"},
};

// Declarations without a body, which the string behind them documents.
struct BehindRow {
  In languages;
  std::string_view types;      // of the declaration
  std::string_view statement;  // the type of the node behind its holder
  std::string_view text;       // the type of that node's first child
};
constexpr BehindRow BEHIND_ROWS[] = {
    {In::python, "assignment", "expression_statement", "string"},
};

struct DocumentationRules {
  explicit DocumentationRules(const languages::Language& language) {
    for (const ConventionRow& row : CONVENTIONS) {
      if (speaks_of(row.languages, language.name())) convention = row.convention;
    }
    for (const PassedRow& row : PASSED_ROWS) {
      if (speaks_of(row.languages, language.name())) passed = SymbolSet(language, row.types);
    }
    for (const PassedRow& row : LED_BY_ROWS) {
      if (speaks_of(row.languages, language.name())) leading = SymbolSet(language, row.types);
    }
    for (const BehindRow& row : BEHIND_ROWS) {
      if (!speaks_of(row.languages, language.name())) continue;
      bodiless = SymbolSet(language, row.types);
      statement = SymbolSet(language, row.statement);
      text = SymbolSet(language, row.text);
    }
  }

  // The string behind the holder of a declaration without a body.
  std::optional<Node> text_behind(const Node& node, const Node& holder) const {
    if (!bodiless.contains(node.symbol())) return std::nullopt;
    const std::optional<Node> behind = holder.next_sibling();
    if (!behind || !statement.contains(behind->symbol())) return std::nullopt;
    std::optional<Node> first = Place(node.tree().language(), "<").in(*behind);
    if (first && !text.contains(first->symbol())) first.reset();
    return first;
  }

  Convention convention{};
  SymbolSet passed;
  SymbolSet leading;
  SymbolSet bodiless, statement, text;
};

// No declaration is deeper than this below the outermost node that begins with it.
constexpr int MOST_STEPS = 4;

// The outermost node that begins with this one: a comment above the first declaration of a body may
// be a sibling of the body.
Node beginning_with(Node node) {
  for (int i = 0; i < MOST_STEPS && !node.previous_record(); ++i) {
    const std::optional<Node> parent = node.parent();
    if (!parent || parent->start_byte() != node.start_byte()) break;
    node = *parent;
  }
  return node;
}

// If the node begins with such a child, the first child behind it that is no comment.
std::optional<Node> behind(const Node& node, const SymbolSet& leading) {
  if (leading.empty()) return std::nullopt;
  bool is_led = false;
  for (const Node child : node.children()) {
    if (leading.contains(child.symbol())) {
      is_led = true;
    } else if (!is_comment(child)) {
      return is_led ? std::optional(child) : std::nullopt;
    }
  }
  return std::nullopt;
}

}  // namespace

std::optional<std::string> TreeSitterEngine::_find_documentation(const Node& node,
                                                                 const Node& holder,
                                                                 const Source& content) {
  const languages::Language& language = node.tree().language();
  const DocumentationRules& rules = table_of<DocumentationRules>(language);
  std::string storage;
  switch (rules.convention) {
    case Convention::within:
      if (const std::optional<Node> text = rules.text_behind(node, holder)) {
        return _clean_python_docstring(
                   content.decoded(text->start_byte(), text->end_byte(), storage))
            .first;
      }
      return _extract_docstring(node, content, language.name());
    case Convention::run_above:
      return _read_doc_run(node, holder, content);
    case Convention::xml_above:
      return _extract_xml_doc(holder, content);
    case Convention::lines_above:
      return _extract_ruby_doc(beginning_with(holder), content, Above::directly);
    case Convention::block_or_run_above: {
      auto documentation = _extract_preceding_block_comment(holder, content, Above::alone);
      return documentation ? documentation : _read_doc_run(node, holder, content);
    }
    case Convention::block_above:
      break;
  }
  if (const auto led = behind(holder, rules.leading)) {
    auto documentation = _extract_preceding_block_comment(*led, content, Above::alone);
    if (documentation) return documentation;
  }
  std::optional<Node> documented = holder;
  while (true) {
    auto documentation = _extract_preceding_block_comment(*documented, content, Above::alone);
    if (documentation) return documentation;
    documented = documented->previous_sibling();
    if (!documented || !rules.passed.contains(documented->symbol())) return std::nullopt;
  }
}

}  // namespace engines::treesitter
