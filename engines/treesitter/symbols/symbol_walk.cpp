// The symbol walk by the standard rules.
//
// One loop over the tree's array, which is in document order. A declaration opens a scope up to the
// end of its subtree. The FQN of a symbol is that of the innermost open scope and its own name;
// other nodes do not count.
//
// Costs one load per node; per symbol its name and its texts; per repeated symbol its name only.
//
// Tested by tests/symbols_test.cpp.
#include <algorithm>
#include <memory_resource>
#include <string>
#include <unordered_map>

#include "engines/treesitter/parsing/node.h"
#include "engines/treesitter/symbols/symbol_list.h"
#include "engines/treesitter/text/hash.h"
#include "engines/treesitter/treesitter.h"

namespace engines::treesitter {
namespace {

bool is_documented(std::string_view kind) {
  return kind == "function" || kind == "method" || kind == "class" || kind == "interface" ||
         kind == "module";
}

}  // namespace

class TreeSitterEngine::SymbolWalk {
 public:
  SymbolWalk(const TreeSitterEngine& engine, const SyntaxTree& tree, const Source& content,
             std::string_view language, SymbolList& list)
      : _engine(engine),
        _tree(tree),
        _content(content),
        _language(language),
        _list(list),
        _prefix_hash(GrowingHash().append(list.fqn(SymbolList::FILE_PREFIX))) {}

  // Begins behind the root, which is never a symbol.
  void run() {
    std::uint32_t visited = 0;
    for (std::uint32_t index = 1; index < _tree.size();) {
      if (++visited % SymbolList::NODES_PER_CHECK == 0) _content.check_cancelled();
      while (!_open.empty() && _open.back().subtree_end <= index) _open.pop_back();
      index = extract_node(Node(_tree, index));
    }
  }

 private:
  using FqnId = SymbolList::FqnId;

  struct KnownFqn {
    FqnId fqn;
    FqnId parent;
  };

  // An open scope. It counts also if the model rejected its symbol.
  struct Open {
    std::uint32_t subtree_end;
    FqnId fqn;
    GrowingHash hash;  // of the FQN
  };

  // Returns the index of the node to visit next.
  std::uint32_t extract_node(const Node& node) {
    const std::uint32_t next = node.index() + 1;
    const auto kind = _node_type_to_symbol_kind(node, _language);
    if (!kind) return next;
    const auto name = _get_symbol_name(node, _language);
    if (!name) return next;

    // The first declaration of an FQN counts; later ones are skipped with everything in them.
    const std::uint32_t subtree_end = _tree.record(node.index()).subtree_end;
    GrowingHash hash = _open.empty() ? _prefix_hash : _open.back().hash;
    hash.append(".").append(*name);
    if (is_seen(hash, *name)) return subtree_end;
    const FqnId id = add_symbol({parent(), node, node, *kind, *name, *name});
    _fqns_by_hash.emplace(hash.value(), KnownFqn{id, parent()});
    _open.push_back({subtree_end, id, hash});
    return next;
  }

  // Whether there is a symbol with this FQN, which is not put together for that: a repeat costs
  // only its own name.
  bool is_seen(const GrowingHash& hash, std::string_view name) const {
    const std::string_view prefix = _list.fqn(parent());
    const auto [first, last] = _fqns_by_hash.equal_range(hash.value());
    return std::any_of(first, last, [&](const auto& each) {
      const std::string_view known = _list.fqn(each.second.fqn);
      return known.size() == prefix.size() + 1 + name.size() && known.ends_with(name) &&
             (each.second.parent == parent() ||
              (known[prefix.size()] == '.' && known.starts_with(prefix)));
    });
  }

  FqnId parent() const { return _open.empty() ? SymbolList::FILE_PREFIX : _open.back().fqn; }

  FqnId add_symbol(const SymbolList::Found& found) {
    models::SymbolArguments arguments = _list.begin(found);
    arguments.is_export = _engine._is_exported(found.node, _language);
    if (is_documented(found.kind)) {
      arguments.docstring = _extract_docstring(found.node, _content, _language);
    }
    return _list.add(found, std::move(arguments));
  }

  const TreeSitterEngine& _engine;
  const SyntaxTree& _tree;
  const Source& _content;
  const std::string_view _language;
  SymbolList& _list;
  const GrowingHash _prefix_hash;

  std::pmr::monotonic_buffer_resource _memory;  // of the table
  std::pmr::unordered_multimap<std::uint64_t, KnownFqn> _fqns_by_hash{&_memory};
  std::vector<Open> _open;  // innermost last
};

std::pair<std::vector<models::Symbol>, std::vector<std::string>> TreeSitterEngine::_extract_symbols(
    const Node& root, const Source& content, std::string_view language,
    const std::filesystem::path& file_path, std::int64_t file_id) const {
  SymbolList list(content, language, _path_to_fqn(file_path), file_id);
  if (_navigates(language)) {
    _find_declarations(root, content, list);
  } else {
    SymbolWalk(*this, root.tree(), content, language, list).run();
  }
  return list.take();
}

}  // namespace engines::treesitter
