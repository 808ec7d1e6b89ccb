// The symbols of one file, to which a walk adds. It makes FQNs, signatures and body digests, and
// limits their total text: the FQN of a nested symbol repeats those of its ancestors.
//
// Tested by tests/symbols_test.cpp.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "engines/treesitter/memory/room.h"
#include "engines/treesitter/parsing/node.h"
#include "engines/treesitter/treesitter.h"

namespace engines::treesitter {

class TreeSitterEngine::SymbolList {
 public:
  // How many nodes a walk visits between two checks for cancellation. Symbols cost more than nodes.
  static constexpr std::uint32_t NODES_PER_CHECK = 4096;

  // Identifies an FQN: the index of the symbol that has it, or a negative number for an FQN without
  // a symbol. An FQN may be as long as the file, so walks keep no copies.
  using FqnId = std::int64_t;
  static constexpr FqnId FILE_PREFIX = INT64_MAX;  // the beginning of all FQNs of the file

  SymbolList(const Source& content, std::string_view language, std::string fqn_prefix,
             std::int64_t file_id);

  // The view is valid until the next symbol is added.
  std::string_view fqn(FqnId id) const;
  bool is_visible(FqnId id) const;

  // A declaration. `lines` is the node whose lines the symbol has, `qualified_name` the part of the
  // FQN behind the parent's.
  struct Found {
    FqnId parent;
    Node node;
    Node lines;
    std::string_view kind;
    const std::string& name;
    std::string_view qualified_name;
  };

  // A symbol is added by `begin` and `add`. In between, the walk sets export flag and
  // documentation. Both throw ResultLimitError when the file's symbols have too much text.
  models::SymbolArguments begin(const Found& found);
  FqnId add(const Found& found, models::SymbolArguments arguments);

  // Adds an FQN that has members but no symbol.
  FqnId add_scope(FqnId parent, std::string_view qualified_name);

  // Sorts the symbols by their first lines. FqnIds are invalid afterwards.
  void put_in_order();

  // The symbols, and the error texts of those that the model rejected.
  std::pair<std::vector<models::Symbol>, std::vector<std::string>> take();

 private:
  std::string qualified(FqnId parent, std::string_view name) const;
  const std::optional<std::string>& signature(const Node& node);
  void spend(std::uint64_t size);

  const Source& _content;
  const std::string_view _language;
  const std::string _fqn_prefix;
  const std::int64_t _file_id;

  std::vector<models::Symbol> _symbols;
  std::vector<std::string> _errors;
  std::vector<std::string> _scopes;  // FQNs without a symbol
  std::optional<std::uint32_t> _signature_row;
  std::optional<std::string> _signature;
  std::uint64_t _text_left;
  RoomShare _room;  // of the texts
};

}  // namespace engines::treesitter
