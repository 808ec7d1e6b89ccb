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

}  // namespace

std::optional<std::string> TreeSitterEngine::_find_documentation(const Node& node,
                                                                 const Node& holder,
                                                                 const Source& content) {
  const std::string_view language = node.tree().language().name();
  if (language == "go" || language == "rust" || language == "sql")
    return _read_doc_run(node, holder, content);
  if (language == "csharp") return _extract_xml_doc(holder, content);
  if (language == "python") return _extract_docstring(node, content, language);
  auto documentation = _extract_docstring(holder, content, language);
  for (auto above = holder.previous_sibling(); !documentation && above && is_passed(*above);
       above = above->previous_sibling()) {
    documentation = _extract_docstring(*above, content, language);
  }
  return documentation;
}

}  // namespace engines::treesitter
