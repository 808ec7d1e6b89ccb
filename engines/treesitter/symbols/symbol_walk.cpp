// The symbol walk: from the tree to the symbols that a file declares.
//
// One loop over the tree's array, which is in document order. A declaration opens a scope that
// lasts to its subtree's end, and the innermost open one names what is found inside; all other
// nodes are transparent.
//
// Costs: one table lookup per node; per symbol its name and its texts; per repeat of a symbol its
// name alone. FQNs of nested symbols repeat their ancestors, so the total text of a result is
// bounded.
//
// Tested by tests/symbols_test.cpp.
#include <algorithm>
#include <memory_resource>
#include <string>
#include <unordered_map>

#include "engines/treesitter/core/hash.h"
#include "engines/treesitter/core/node.h"
#include "engines/treesitter/core/room.h"
#include "engines/treesitter/symbols/declarations.h"
#include "engines/treesitter/treesitter.h"
#include "engines/treesitter/visibility/export_lists.h"
#include "engines/treesitter/visibility/hiding_words.h"

namespace engines::treesitter {
namespace {

using models::Symbol;

// The kinds for which documentation is asked, and those for which a body digest is.
bool is_documented(std::string_view kind) {
  return kind == "function" || kind == "method" || kind == "class" || kind == "interface" ||
         kind == "module";
}
bool is_digested(std::string_view kind) { return kind == "function" || kind == "method"; }

// Whether what is declared within is local to it.
bool is_body(std::string_view kind) {
  return kind.empty() || kind == "function" || kind == "method";
}

// The most text that the symbols of one file may hold. A file of minified keys has some 30 bytes of
// signature and name for each of its own, and a megabyte of nested keys would have 28,000.
constexpr std::uint64_t MAX_RESULT_TEXT_FLOOR = 16 << 20;
constexpr std::uint64_t MAX_RESULT_TEXT_PER_BYTE = 192;

constexpr std::uint32_t NODES_PER_CHECK = 4096;

std::uint64_t size_of(const std::optional<std::string>& text) { return text ? text->size() : 0; }

}  // namespace

class TreeSitterEngine::SymbolWalk {
 public:
  SymbolWalk(const TreeSitterEngine& engine, const SyntaxTree& tree, const Source& content,
             std::string_view language, std::string fqn_prefix, std::int64_t file_id)
      : _engine(engine),
        _tree(tree),
        _content(content),
        _language(language),
        _fqn_prefix(std::move(fqn_prefix)),
        _prefix_hash(GrowingHash().append(_fqn_prefix)),
        _file_id(file_id),
        _declarations(engine._navigates(language) ? &table_of<Declarations>(tree.language())
                                                  : nullptr),
        _text_left(MAX_RESULT_TEXT_FLOOR + MAX_RESULT_TEXT_PER_BYTE * content.bytes().size()) {}

  // The root itself is never a symbol.
  void run() {
    if (_declarations != nullptr) {
      _exports = ExportList(Node(_tree, 0));
      _hiding_words = HidingWords(Node(_tree, 0));
    }
    std::uint32_t visited = 0;
    for (std::uint32_t index = 1; index < _tree.size();) {
      if (++visited % NODES_PER_CHECK == 0) _content.check_cancelled();
      while (!_open.empty() && _open.back().subtree_end <= index) _open.pop_back();
      const Node node(_tree, index);
      index = _declarations == nullptr ? extract_node(node) : extract_declared(node);
    }
  }

  std::pair<std::vector<Symbol>, std::vector<std::string>> take() {
    return {std::move(_symbols), std::move(_errors)};
  }

 private:
  // Names an FQN: the symbol's that holds it, or, negative, one of those that the model rejected.
  // An FQN may be as long as the file, so that no second copy is kept to find repeats.
  using FqnId = std::int64_t;
  static constexpr FqnId FILE_PREFIX = INT64_MAX;  // what names at the top are joined to

  struct KnownFqn {
    FqnId fqn;
    FqnId parent;
  };

  // A declaration that has an FQN, whether or not the model accepted it.
  struct Open {
    std::uint32_t subtree_end;
    FqnId fqn;
    GrowingHash hash;  // of the FQN
    Around around = Around::file;
    bool is_visible = false;
    bool is_local = false;  // a function, or within one
    std::uint32_t node = 0;
  };

  std::string_view fqn(FqnId id) const {
    if (id == FILE_PREFIX) return _fqn_prefix;
    return id >= 0 ? _symbols[static_cast<std::size_t>(id)].fqn
                   : _rejected_fqns[static_cast<std::size_t>(-1 - id)];
  }

  // Gives the index of the node to visit next.
  std::uint32_t extract_node(const Node& node) {
    const std::uint32_t next = node.index() + 1;
    const auto kind = _node_type_to_symbol_kind(node, _language);
    if (!kind) return next;
    auto name = _get_symbol_name(node, _language);
    if (!name) return next;

    // The first declaration of an FQN wins; a later one goes with everything nested in it.
    const std::uint32_t subtree_end = _tree.record(node.index()).subtree_end;
    GrowingHash hash = _open.empty() ? _prefix_hash : _open.back().hash;
    hash.append(".").append(*name);
    if (is_seen(hash, *name)) return subtree_end;
    const FqnId parent_id = parent();
    const FqnId id = add_symbol(node, node, *kind, *name, *name);
    _fqns_by_hash.emplace(hash.value(), KnownFqn{id, parent_id});
    _open.push_back({subtree_end, id, hash});
    return next;
  }

  // By the navigation rules: every declaration counts, and one node may declare several names.
  std::uint32_t extract_declared(const Node& node) {
    const Around around = _open.empty() ? Around::file : _open.back().around;
    const Declaration* const row = _declarations->of(node, around);
    if (row == nullptr) return node.index() + 1;
    if (row->is_beside() && !_open.empty()) {
      const Open left = _open.back();
      _open.pop_back();
      add_declared(node, *row);
      _open.push_back(left);
    } else {
      add_declared(node, *row);
    }
    return node.index() + 1;
  }

  void add_declared(const Node& node, const Declaration& row) {
    std::optional<FqnId> opened;
    for (const Node& carrier : row.names(node, _declarations->own_names())) {
      const std::string name = OwnNames::text(carrier);
      if (name.empty() || is_named_above(node, name)) continue;
      const Node& lines = row.has_own_lines() ? carrier : node;
      const FqnId id = add_symbol(node, lines, row.kind(), name, qualifier(row, node, carrier));
      if (!opened && row.opens_scope()) opened = id;
    }
    // What has no name that could be read, such as one that is computed, hides its locals too.
    if (!opened && row.opens_scope() && is_body(row.kind())) opened = parent();
    if (!opened) return;
    const Around within = row.kind().empty() ? Around::value : around_within(row.kind());
    const Node region = row.stays_open() ? node.parent().value_or(node) : node;
    _open.push_back({_tree.record(region.index()).subtree_end, *opened, _prefix_hash, within,
                     is_visible(*opened), is_local() || is_body(row.kind()), node.index()});
  }

  // Whether the node is what a declaration of the same name gives its name to, as in
  // `f = function f() {}`, and no second declaration.
  bool is_named_above(const Node& node, std::string_view name) const {
    const std::optional<Node> above = node.parent();
    if (_open.empty() || !above || _open.back().node != above->index()) return false;
    const std::string_view known = fqn(parent());
    return known.ends_with(name) && known.substr(0, known.size() - name.size()).ends_with('.');
  }

  bool is_local() const { return !_open.empty() && _open.back().is_local; }

  bool is_visible(FqnId id) const {
    return id >= 0 && id != FILE_PREFIX && _symbols[static_cast<std::size_t>(id)].is_export;
  }

  // What stands around a declaration of this name that is found now. What belongs to a name is
  // listed with it.
  Surroundings surroundings(const Node& node, std::string_view name,
                            std::string_view qualified_name) const {
    const bool may_be_listed = parent() == FILE_PREFIX && _exports.is_there();
    const std::string_view first = qualified_name.substr(0, qualified_name.find('.'));
    const bool is_listed = may_be_listed && (_exports.contains(name) || _exports.contains(first));
    return {.is_listed = is_listed,
            .is_unlisted = may_be_listed && !is_listed,
            .is_local = is_local(),
            .is_in_visible = !_open.empty() && _open.back().is_visible,
            .is_in_hidden = !_open.empty() && !_open.back().is_visible,
            .is_hidden = _hiding_words.hide(node, name)};
  }

  // What a name adds to the FQN around it.
  std::string qualifier(const Declaration& row, const Node& node, const Node& carrier) const {
    const OwnNames& own = _declarations->own_names();
    if (const auto owner = row.owner(node, own)) {
      return OwnNames::text(*owner).append(1, '.').append(OwnNames::text(carrier));
    }
    return dotted(OwnNames::text(row.is_qualified() ? own.whole(carrier) : carrier));
  }

  // The FQN is not made for this: a repeat costs its name, and not the names of its ancestors.
  bool is_seen(const GrowingHash& hash, std::string_view name) const {
    const std::string_view prefix = fqn(parent());
    const auto [first, last] = _fqns_by_hash.equal_range(hash.value());
    return std::any_of(first, last, [&](const auto& each) {
      const std::string_view known = fqn(each.second.fqn);
      return known.size() == prefix.size() + 1 + name.size() && known.ends_with(name) &&
             (each.second.parent == parent() ||
              (known[prefix.size()] == '.' && known.starts_with(prefix)));
    });
  }

  FqnId parent() const { return _open.empty() ? FILE_PREFIX : _open.back().fqn; }

  std::string qualified(std::string_view name) const {
    const std::string_view prefix = fqn(parent());
    std::string text;
    text.reserve(prefix.size() + 1 + name.size());
    return text.append(prefix).append(1, '.').append(name);
  }

  // `lines` gives the symbol's lines, and `qualified_name` what it adds to the FQN around it.
  FqnId add_symbol(const Node& node, const Node& lines, std::string_view kind,
                   const std::string& name, std::string_view qualified_name) {
    _content.check_cancelled();  // an FQN may be as long as the file
    spend(fqn(parent()).size() + 1 + qualified_name.size() + name.size());
    models::SymbolArguments arguments{
        .id = std::nullopt,
        .file_id = _file_id,
        .name = name,
        .kind = kind,
        .fqn = qualified(qualified_name),
        .start_line = lines.start_row() + 1,
        .end_line = lines.end_row() + 1,
        .signature = signature(lines),
        .is_export = false,
        .docstring = std::nullopt,
        .body_digest = std::nullopt,
    };
    if (_declarations == nullptr) {
      arguments.is_export = _engine._is_exported(node, _language);
      if (is_documented(kind)) arguments.docstring = _extract_docstring(node, _content, _language);
    } else {
      const Holders& holders = _declarations->holders();
      arguments.is_export =
          _is_visible(node, holders.of(lines), name, surroundings(node, name, qualified_name));
      arguments.docstring = _find_documentation(node, holders.documented(lines), _content);
    }
    if (is_digested(kind)) arguments.body_digest = _extract_body_digest(node, _content);
    spend(size_of(arguments.signature) + size_of(arguments.docstring) +
          size_of(arguments.body_digest));
    try {
      _symbols.emplace_back(std::move(arguments));
      return static_cast<FqnId>(_symbols.size()) - 1;
    } catch (const std::invalid_argument& error) {
      _errors.push_back("Invalid symbol " + name + ": " + error.what());
      _rejected_fqns.push_back(qualified(qualified_name));
      return -static_cast<FqnId>(_rejected_fqns.size());
    }
  }

  // Symbols of one row have one signature, and a minified file has one row for all of them.
  const std::optional<std::string>& signature(const Node& node) {
    if (_signature_row != node.start_row()) {
      _signature = _get_signature(node, _content, _language);
      _signature_row = node.start_row();
    }
    return _signature;
  }

  void spend(std::uint64_t size) {
    if (size <= _text_left) {
      _text_left -= size;
      _room.add(size);
      return;
    }
    throw ResultLimitError(
        "the symbols of this file hold more text than " +
        std::to_string(MAX_RESULT_TEXT_FLOOR + MAX_RESULT_TEXT_PER_BYTE * _content.bytes().size()) +
        " bytes");
  }

  const TreeSitterEngine& _engine;
  const SyntaxTree& _tree;
  const Source& _content;
  const std::string_view _language;
  const std::string _fqn_prefix;
  const GrowingHash _prefix_hash;
  const std::int64_t _file_id;
  const Declarations* const _declarations;  // of the navigation rules, or null
  ExportList _exports;                      // by them
  HidingWords _hiding_words;                // by them

  std::vector<Symbol> _symbols;
  std::vector<std::string> _errors;
  std::vector<std::string> _rejected_fqns;
  std::pmr::monotonic_buffer_resource _memory;  // of the table, given back as a whole
  std::pmr::unordered_multimap<std::uint64_t, KnownFqn> _fqns_by_hash{&_memory};
  std::vector<Open> _open;  // innermost last
  std::optional<std::uint32_t> _signature_row;
  std::optional<std::string> _signature;
  std::uint64_t _text_left;
  RoomShare _room;  // of the texts
};

std::pair<std::vector<Symbol>, std::vector<std::string>> TreeSitterEngine::_extract_symbols(
    const Node& root, const Source& content, std::string_view language,
    const std::filesystem::path& file_path, std::int64_t file_id) const {
  SymbolWalk walk(*this, root.tree(), content, language, _path_to_fqn(file_path), file_id);
  walk.run();
  return walk.take();
}

}  // namespace engines::treesitter
