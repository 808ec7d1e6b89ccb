// The documentation of a declaration under the navigation rules: the same conventions as under the
// standard ones, looked for where the declaration's holder stands (core/holder.h).
//
// Tested by tests/navigation_test.cpp.
#include <optional>
#include <string>

#include "engines/treesitter/core/node.h"
#include "engines/treesitter/treesitter.h"

namespace engines::treesitter {

namespace {

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
  if (language == "ruby")
    return _extract_ruby_doc(beginning_with(holder), content, Above::directly);
  return _extract_docstring(language == "python" ? node : holder, content, language);
}

}  // namespace engines::treesitter
