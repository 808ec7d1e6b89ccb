// The documentation of a declaration under the navigation rules: the same conventions as under the
// standard ones, looked for where the declaration's holder stands (core/holder.h).
//
// Tested by tests/navigation_test.cpp.
#include <algorithm>
#include <iterator>
#include <optional>
#include <string>
#include <string_view>

#include "engines/treesitter/core/grammar_rows.h"
#include "engines/treesitter/core/node.h"
#include "engines/treesitter/treesitter.h"

namespace engines::treesitter {
namespace {

// What may stand between a declaration and its comment, where the grammar makes it a sibling.
struct PassedRow {
  In languages;
  std::string_view type;
};
constexpr PassedRow PASSED_ROWS[] = {
    {In::typed_script, "decorator"},
};

bool is_passed(const Node& node) {
  const std::string_view language = node.tree().language().name();
  return std::any_of(std::begin(PASSED_ROWS), std::end(PASSED_ROWS), [&](const PassedRow& row) {
    return row.type == node.type_text() && speaks_of(row.languages, language);
  });
}

// As far as a declaration stands below what its comment stands above.
constexpr int MOST_STEPS = 4;

// The outermost node that begins with this one. What stands above the first declaration of a body,
// a grammar may hang beside the body.
Node beginning_with(Node node) {
  for (int i = 0; i < MOST_STEPS && !node.previous_record(); ++i) {
    const std::optional<Node> parent = node.parent();
    if (!parent || parent->start_byte() != node.start_byte()) break;
    node = *parent;
  }
  return node;
}

}  // namespace

std::optional<std::string> TreeSitterEngine::_find_documentation(const Node& node,
                                                                 const Node& holder,
                                                                 const Source& content) {
  const std::string_view language = node.tree().language().name();
  if (language == "go" || language == "rust" || language == "sql")
    return _read_doc_run(node, holder, content);
  if (language == "csharp") return _extract_xml_doc(holder, content);
  if (language == "ruby") {
    return _extract_ruby_doc(beginning_with(holder), content, Above::directly);
  }
  if (language == "python") return _extract_docstring(node, content, language);
  auto documentation = _extract_docstring(holder, content, language);
  for (auto above = holder.previous_sibling(); !documentation && above && is_passed(*above);
       above = above->previous_sibling()) {
    documentation = _extract_docstring(*above, content, language);
  }
  return documentation;
}

}  // namespace engines::treesitter
