// The beginning of the FQNs of a file's symbols, made from the file's path.
//
// Tested by tests/engine_test.cpp.
#include <algorithm>
#include <stdexcept>
#include <string>
#include <vector>

#include "engines/treesitter/text/text.h"
#include "engines/treesitter/treesitter.h"

namespace engines::treesitter {

// The suffix of the last component is removed. The components are then joined with full stops, and
// backslashes become full stops too.
std::string TreeSitterEngine::_path_to_fqn(const std::filesystem::path& file_path) {
  std::vector<std::string_view> components = split(file_path.native(), '/');
  std::erase_if(components,
                [](std::string_view component) { return component.empty() || component == "."; });
  if (components.empty()) {
    throw std::invalid_argument("path has an empty last component: '" + file_path.native() + "'");
  }
  std::string_view& last = components.back();
  const std::size_t dot = last.rfind('.');
  if (dot != std::string_view::npos && dot > 0 && dot + 1 < last.size()) last = last.substr(0, dot);
  if (last == ".") components.pop_back();

  std::string fqn;
  for (const std::string_view component : components) fqn.append(component).append(1, '.');
  if (!fqn.empty()) fqn.pop_back();
  std::replace(fqn.begin(), fqn.end(), '\\', '.');
  return fqn.erase(0, fqn.find_first_not_of('.'));
}

}  // namespace engines::treesitter
