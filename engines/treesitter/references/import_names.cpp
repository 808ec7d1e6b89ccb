// The names that an import statement imports, and the paths of its modules, under the standard
// rules.
//
// Imported names do not say which file is imported: `from pkg.mod import Handler` imports
// `Handler`. So names and modules are two lists. Python's `from ... import ...` has branches of its
// own for both. All other imports of all languages are read by one generic procedure, which looks
// at the statement's children, and at the children of those in SPECIFIER_TYPES. Names that a
// grammar puts deeper (mostly in Go, Java, Rust and JavaScript) are not found.
//
// Costs the children that it reads. Throws Utf8Error for a name that is no UTF-8.
//
// Tested by tests/references_test.cpp.
#include <cstddef>
#include <optional>
#include <string_view>
#include <vector>

#include "engines/treesitter/parsing/node.h"
#include "engines/treesitter/treesitter.h"

namespace engines::treesitter {
namespace {

using Names = std::vector<std::string_view>;

// Children that are a name.
constexpr NodeType NAME_TYPES[] = {
    NodeType::identifier,      // Java, Rust, C#: one word
    NodeType::dotted_name,     // Python
    NodeType::module_name,     // no grammar of ours
    NodeType::name,            // PHP: `include CONSTANT`, `use Trait`
    NodeType::qualified_name,  // C#, PHP
};

// Children of which all identifiers are names.
constexpr NodeType SPECIFIER_TYPES[] = {NodeType::import_specifier, NodeType::aliased_import};

// The part behind the last full stop; the whole text if there is none.
std::string_view last_piece(std::string_view dotted) {
  const std::size_t stop = dotted.rfind('.');
  return stop == std::string_view::npos ? dotted : dotted.substr(stop + 1);
}

void append_text(const Node& node, Names& names) {
  if (const auto text = _node_text(node)) names.push_back(*text);
}

// Adds the whole text and, if it has full stops, its last piece. The piece is empty if a broken
// statement has a name that ends in a full stop.
void append_dotted(const Node& node, Names& names) {
  const auto text = _node_text(node);
  if (!text) return;
  names.push_back(*text);
  const std::string_view last = last_piece(*text);
  if (last.size() != text->size()) names.push_back(last);
}

bool is_python_from(const Node& node, std::string_view language) {
  return language == "python" && node.type() == NodeType::import_from_statement;
}

// The names behind the keyword `import`; before it is the module. Of an alias the imported name
// counts.
Names python_from_names(const Node& node) {
  Names names;
  bool seen_import = false;
  for (const Node child : node.children()) {
    if (child.type() == NodeType::import) {
      seen_import = true;
    } else if (!seen_import) {
      continue;
    } else if (child.type() == NodeType::dotted_name) {
      if (const auto text = _node_text(child)) names.push_back(last_piece(*text));
    } else if (child.type() == NodeType::aliased_import) {
      if (const auto name = child.child_by_field(Field::name)) append_text(*name, names);
    }
  }
  return names;
}

}  // namespace

std::vector<std::string_view> TreeSitterEngine::_get_import_names(const Node& node,
                                                                  std::string_view language) {
  if (is_python_from(node, language)) {
    // `from pkg import *` names nothing; the generic procedure then finds the module's name.
    if (Names names = python_from_names(node); !names.empty()) return names;
  }
  return _get_import_names_generic(node);
}

std::vector<std::string_view> TreeSitterEngine::_get_import_names_generic(const Node& node) {
  Names names;
  for (const Node child : node.children()) {
    if (is_one_of(child.type(), NAME_TYPES)) {
      append_dotted(child, names);
    } else if (is_one_of(child.type(), SPECIFIER_TYPES)) {
      for (const Node part : child.children()) {
        if (part.type() == NodeType::identifier) append_text(part, names);
      }
    }
  }
  return names;
}

std::vector<std::string_view> TreeSitterEngine::_get_import_modules(const Node& node,
                                                                    std::string_view language) {
  Names modules;
  if (is_python_from(node, language)) {
    const std::optional<Node> module = node.child_by_field(Field::module_name);
    if (module) append_text(*module, modules);
    return modules;
  }
  for (const Node child : node.children()) {
    const bool is_aliased = child.type() == NodeType::aliased_import;
    const std::optional<Node> candidate = is_aliased ? child.child_by_field(Field::name) : child;
    if (candidate && candidate->type() == NodeType::dotted_name) append_text(*candidate, modules);
  }
  return modules;
}

}  // namespace engines::treesitter
