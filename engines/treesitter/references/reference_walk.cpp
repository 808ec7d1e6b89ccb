// The walk that finds references, under both sets of rules, and leaves out repeats: references of
// the same name, line and kind. Under the standard rules the names come from reference_names.cpp
// and import_names.cpp, under the navigation rules from uses.h.
//
// One loop over the tree's records in document order. A node that refers to nothing costs one load.
//
// Tested by tests/references_test.cpp.
#include <array>
#include <cassert>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "engines/treesitter/memory/room.h"
#include "engines/treesitter/parsing/node.h"
#include "engines/treesitter/parsing/syntax_tree.h"
#include "engines/treesitter/references/standard_uses.h"
#include "engines/treesitter/references/uses.h"
#include "engines/treesitter/text/hash.h"
#include "engines/treesitter/treesitter.h"

namespace engines::treesitter {
namespace {

constexpr std::size_t index_of(NodeType type) { return static_cast<std::size_t>(type); }

constexpr auto USE_BY_TYPE = [] {
  std::array<Use, languages::NODE_TYPE_COUNT> table{};
  for (const StandardUseRow& row : STANDARD_USES) table[index_of(row.type)] = row.use;
  return table;
}();

constexpr std::size_t count_of_uses() {
  std::size_t count = 0;
  for (const Use use : USE_BY_TYPE) count += use != Use::none ? 1 : 0;
  return count;
}
static_assert(count_of_uses() == std::size(STANDARD_USES), "a node type has one use");

constexpr Use use_of(NodeType type) { return USE_BY_TYPE[index_of(type)]; }

}  // namespace

// The references found so far, and a hash table to find repeats.
//
// Start rows never decrease along the records, so a repeat is among the references of the current
// line. `_slots` is a hash table of these alone. A slot holds a reference's index in `_references`
// plus one, and counts as empty if that reference is on an earlier line. So the table needs no
// copies of names and no clearing, and its size depends on the line with the most references.
class TreeSitterEngine::ReferenceWalk {
 public:
  explicit ReferenceWalk(std::string_view language)
      : _language(language), _is_yaml(language == "yaml"), _slots(INITIAL_SLOTS) {}

  // Adds the references of the node itself, without those of its descendants.
  void extract_from_node(const Node& node, Use use);

  // The same by the navigation rules. Each name is on its own line, also in document order.
  void find_in_node(const Node& node, std::uint8_t concern, const Uses& uses);

  std::vector<ReferenceInfo> take_references() { return std::move(_references); }

 private:
  static constexpr std::size_t INITIAL_SLOTS = 64;  // a power of two, as every later size is

  void add(std::string_view name, std::uint32_t line, std::string_view kind);
  void add_named(std::optional<std::string_view> name, std::uint32_t line, std::string_view kind);
  void add_use(const Uses::Row* row, const Node& name, const Uses& uses);
  std::size_t& slot_of(std::string_view name, std::string_view kind);
  void grow();

  const std::string_view _language;
  const bool _is_yaml;
  std::vector<ReferenceInfo> _references;
  std::uint32_t _line = 0;      // of the last reference
  std::size_t _line_begin = 0;  // the index of that line's first reference
  std::vector<std::size_t> _slots;
  RoomShare _room;  // of the references

  struct OpenRegion {
    std::uint32_t subtree_end;
    std::string_view name;
  };
  std::vector<OpenRegion> _regions;  // innermost last
};

void TreeSitterEngine::ReferenceWalk::extract_from_node(const Node& node, Use use) {
  const std::uint32_t line = node.start_row() + 1;
  switch (use) {
    case Use::none:
      return;
    case Use::call:
      return add_named(_get_call_name(node, _language), line, "call");
    case Use::import:
      // All names of a statement come before all of its modules.
      for (const auto name : _get_import_names(node, _language)) add(name, line, "import");
      for (const auto module : _get_import_modules(node, _language)) {
        add(module, line, IMPORT_MODULE_KIND);
      }
      return;
    case Use::type:
      return add_named(_get_type_name(node), line, "type");
    case Use::alias:
      if (_is_yaml) add_named(_get_yaml_alias_name(node), line, "call");
      return;
    case Use::member: {
      // If it is the callee of a call, the call has added it.
      const std::optional<Node> parent = node.parent();
      if (!parent || use_of(parent->type()) == Use::call) return;
      return add_named(_get_attribute_name(node), line, "call");
    }
  }
}

void TreeSitterEngine::ReferenceWalk::find_in_node(const Node& node, std::uint8_t concern,
                                                   const Uses& uses) {
  while (!_regions.empty() && _regions.back().subtree_end <= node.index()) _regions.pop_back();
  if ((concern & Uses::REGION) != 0) {
    const std::string_view opened = uses.region(node);
    if (!opened.empty()) {
      _regions.push_back({node.tree().record(node.index()).subtree_end, opened});
    }
  }
  const std::string_view region = _regions.empty() ? std::string_view() : _regions.back().name;
  if ((concern & Uses::WRITTEN) != 0) add_use(uses.of_written(node, region), node, uses);
  if ((concern & Uses::NAME) != 0) add_use(uses.of_name(node, region), node, uses);
}

void TreeSitterEngine::ReferenceWalk::add_use(const Uses::Row* row, const Node& name,
                                              const Uses& uses) {
  if (row == nullptr) return;
  std::string storage;
  const std::string_view text = uses.text(name, row->reading(), storage);
  for (const std::string_view kind : row->kinds()) {
    if (kind == "type" && uses.is_builtin(text)) continue;
    add_named(text, name.start_row() + 1, kind);
  }
}

void TreeSitterEngine::ReferenceWalk::add_named(std::optional<std::string_view> name,
                                                std::uint32_t line, std::string_view kind) {
  if (name && !name->empty()) add(*name, line, kind);
}

void TreeSitterEngine::ReferenceWalk::add(std::string_view name, std::uint32_t line,
                                          std::string_view kind) {
  assert(line >= _line && "start rows never go back");
  if (line != _line) {
    _line = line;
    _line_begin = _references.size();
  }
  if (2 * (_references.size() - _line_begin + 1) > _slots.size()) grow();
  std::size_t& slot = slot_of(name, kind);
  if (slot > _line_begin) return;
  _room.add(sizeof(ReferenceInfo) + name.size());
  _references.push_back({std::string(name), line, std::string(kind)});
  slot = _references.size();
}

// The slot with this line's reference of that name and kind, or else the empty slot for it. The
// kind is not hashed: a name has at most four references on a line, one of each kind.
std::size_t& TreeSitterEngine::ReferenceWalk::slot_of(std::string_view name,
                                                      std::string_view kind) {
  const std::size_t mask = _slots.size() - 1;
  std::size_t position = hash_of(name) & mask;
  while (_slots[position] > _line_begin) {
    const ReferenceInfo& found = _references[_slots[position] - 1];
    if (found.name == name && found.kind == kind) break;
    position = (position + 1) & mask;
  }
  return _slots[position];
}

void TreeSitterEngine::ReferenceWalk::grow() {
  _slots.assign(2 * _slots.size(), 0);
  for (std::size_t i = _line_begin; i < _references.size(); ++i) {
    slot_of(_references[i].name, _references[i].kind) = i + 1;
  }
}

std::vector<ReferenceInfo> TreeSitterEngine::_extract_references(const Node& root,
                                                                 std::string_view language) {
  const SyntaxTree& tree = root.tree();
  const std::uint32_t end = tree.record(root.index()).subtree_end;
  ReferenceWalk walk(language);
  for (std::uint32_t i = root.index(); i < end; ++i) {
    if (i % NODES_PER_CHECK == 0) tree.source().check_cancelled();
    const Use use = use_of(tree.record(i).type);
    if (use != Use::none) walk.extract_from_node(Node(tree, i), use);
  }
  return walk.take_references();
}

std::vector<ReferenceInfo> TreeSitterEngine::_find_references(const Node& root) {
  const SyntaxTree& tree = root.tree();
  const Uses& uses = table_of<Uses>(tree.language());
  ReferenceWalk walk(tree.language().name());
  for (std::uint32_t i = 0; i < tree.size(); ++i) {
    if (i % NODES_PER_CHECK == 0) tree.source().check_cancelled();
    const std::uint8_t concern = uses.concern(tree.record(i).symbol);
    if (concern != 0) walk.find_in_node(Node(tree, i), concern, uses);
  }
  return walk.take_references();
}

}  // namespace engines::treesitter
