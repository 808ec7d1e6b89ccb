// The symbol walk by the navigation rules: every declaration counts, and one node may declare
// several names. declaration_table.h says what declares; this loop is the same for all languages.
//
// Costs one load per node; per symbol its name, its texts and a fixed number of steps among the
// nodes around it.
//
// Tested by tests/golden and tests/navigation_test.cpp.
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "engines/treesitter/navigation/surroundings.h"
#include "engines/treesitter/parsing/node.h"
#include "engines/treesitter/symbols/declarations.h"
#include "engines/treesitter/symbols/symbol_list.h"
#include "engines/treesitter/treesitter.h"

namespace engines::treesitter {
namespace {

// Whether declarations within one of this kind are local to it.
bool is_body(std::string_view kind) {
  return kind.empty() || kind == "function" || kind == "method";
}

}  // namespace

class TreeSitterEngine::DeclarationWalk {
 public:
  DeclarationWalk(const SyntaxTree& tree, const Source& content, SymbolList& list)
      : _tree(tree),
        _content(content),
        _declarations(table_of<Declarations>(tree.language())),
        _file(_read_visibility(Node(tree, 0))),
        _list(list) {}

  // Begins with the root: a row may be about ERROR, and the whole file may be one.
  void run() {
    for (std::uint32_t index = 0; index < _tree.size(); ++index) {
      if (index % SymbolList::NODES_PER_CHECK == 0) _content.check_cancelled();
      while (!_open.empty() && _open.back().end <= index) _open.pop_back();
      if (_declarations.concern(_tree.record(index).symbol)) visit(Node(_tree, index));
    }
    // Names with lines of their own are found together, before symbols between them.
    _list.put_in_order();
  }

 private:
  using FqnId = SymbolList::FqnId;

  // A declaration, or a scope that declares nothing, around the node that is visited.
  struct Open {
    std::uint32_t node;
    std::uint32_t end;  // one past the last node within it
    FqnId fqn;
    Around around;  // of the declarations within it
    bool is_visible;
    bool is_local;  // it is a function, or is within one
    bool stays_open;
  };

  void visit(const Node& node) {
    const Around around = _open.empty() ? Around::file : _open.back().around;
    const Declaration* const row = _declarations.of(node, around);
    if (row == nullptr) return;
    const Node region = row->stays_open() ? node.parent().value_or(node) : node;
    const std::uint32_t end = _tree.record(region.index()).subtree_end;
    if (row->stays_open()) close_stayed(end);
    std::optional<Open> aside;
    if (row->is_beside() && !_open.empty()) {
      aside = _open.back();
      _open.pop_back();
    }
    const std::optional<FqnId> opened =
        row->kind().empty() ? open_scope(node, *row) : declare(node, *row);
    if (aside) _open.push_back(*aside);
    if (!opened) return;
    const Around within = row->kind().empty() ? Around::value : around_within(row->kind());
    _open.push_back({node.index(), end, *opened, within, _list.is_visible(*opened),
                     is_local() || is_body(row->kind()), row->stays_open()});
  }

  // Adds the node's symbols. Returns the FQN for the declarations within it, if it opens a scope.
  std::optional<FqnId> declare(const Node& node, const Declaration& row) {
    std::optional<FqnId> opened;
    for (const Node& carrier : row.names(node, _declarations.own_names())) {
      const std::string name = OwnNames::text(carrier);
      if (name.empty() || (!row.has_own_lines() && is_named_above(node, name))) continue;
      const Node& lines = row.has_own_lines() ? carrier : node;
      const std::string qualified_name = qualified(node, row, carrier);
      const FqnId id = add_symbol({parent(), node, lines, row.kind(), name, qualified_name});
      if (!opened && row.opens_scope()) opened = id;
    }
    // A function without a readable name, such as a computed one, also makes its content local.
    if (!opened && row.opens_scope() && is_body(row.kind())) opened = parent();
    return opened;
  }

  // A scope that declares nothing. The FQNs of its members contain its name, if it has one.
  FqnId open_scope(const Node& node, const Declaration& row) {
    for (const Node& carrier : row.names(node, _declarations.own_names())) {
      const std::string name = qualified(node, row, carrier);
      if (!name.empty()) return _list.add_scope(parent(), name);
    }
    return parent();
  }

  // Whether the node is the value of a declaration of the same name, as in `f = function f() {}`,
  // and so no second declaration.
  bool is_named_above(const Node& node, std::string_view name) const {
    const std::optional<Node> above = node.parent();
    if (_open.empty() || !above || _open.back().node != above->index()) return false;
    const std::string_view known = _list.fqn(parent());
    return known.ends_with(name) && known.substr(0, known.size() - name.size()).ends_with('.');
  }

  // What stayed open to the same end is over where the next such declaration begins.
  void close_stayed(std::uint32_t end) {
    while (!_open.empty() && _open.back().stays_open && _open.back().end == end) _open.pop_back();
  }

  FqnId parent() const { return _open.empty() ? SymbolList::FILE_PREFIX : _open.back().fqn; }
  bool is_local() const { return !_open.empty() && _open.back().is_local; }

  // The part of the FQN that a name adds.
  std::string qualified(const Node& node, const Declaration& row, const Node& carrier) const {
    const OwnNames& own = _declarations.own_names();
    if (const auto owner = row.owner(node, own)) {
      return OwnNames::text(*owner).append(1, '.').append(OwnNames::text(carrier));
    }
    return dotted(OwnNames::text(row.is_qualified() ? own.whole(carrier) : carrier));
  }

  FqnId add_symbol(const SymbolList::Found& found) {
    const Holders& holders = _declarations.holders();
    const Surroundings around{
        .file = *_file,
        .qualified_name = found.qualified_name,
        .is_at_top = parent() == SymbolList::FILE_PREFIX,
        .is_local = is_local(),
        .is_owner_visible = _open.empty() ? std::nullopt : std::optional(_open.back().is_visible)};
    models::SymbolArguments arguments = _list.begin(found);
    arguments.is_export = _is_visible(found.node, holders.of(found.lines), found.name, around);
    arguments.docstring =
        _find_documentation(found.node, holders.documented(found.lines), _content);
    return _list.add(found, std::move(arguments));
  }

  const SyntaxTree& _tree;
  const Source& _content;
  const Declarations& _declarations;
  const std::shared_ptr<const FileVisibility> _file;
  SymbolList& _list;
  std::vector<Open> _open;  // innermost last
};

void TreeSitterEngine::_find_declarations(const Node& root, const Source& content,
                                          SymbolList& list) {
  DeclarationWalk(root.tree(), content, list).run();
}

}  // namespace engines::treesitter
