// The documentation of a declaration under the navigation rules: the same conventions as under the
// standard ones, looked for where the declaration's holder stands (core/holder.h).
//
// Tested by tests/navigation_test.cpp.
#include <optional>
#include <string>

#include "engines/treesitter/core/node.h"
#include "engines/treesitter/treesitter.h"

namespace engines::treesitter {

std::optional<std::string> TreeSitterEngine::_find_documentation(const Node& node,
                                                                 const Node& holder,
                                                                 const Source& content) {
  const std::string_view language = node.tree().language().name();
  if (language == "go" || language == "rust") return _read_doc_run(node, holder, content);
  if (language == "csharp") return _extract_xml_doc(holder, content);
  return _extract_docstring(language == "python" ? node : holder, content, language);
}

}  // namespace engines::treesitter
