// The symbols of one file while a walk finds them: their FQNs, their texts, and the bound on both.
//
// FQNs of nested symbols repeat their ancestors, so the total text of a result is bounded.
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
  // Names an FQN: the symbol's that holds it, or, negative, one of those that have none. An FQN may
  // be as long as the file, so that walks keep no copies.
  using FqnId = std::int64_t;
  static constexpr FqnId FILE_PREFIX = INT64_MAX;  // what names at the top are joined to

  SymbolList(const Source& content, std::string_view language, std::string fqn_prefix,
             std::int64_t file_id);

  // Valid until the next symbol.
  std::string_view fqn(FqnId id) const;
  bool is_visible(FqnId id) const;

  // What is found: `lines` gives the symbol's lines, `qualified_name` what it adds to the FQN of
  // its parent.
  struct Found {
    FqnId parent;
    Node node;
    Node lines;
    std::string_view kind;
    const std::string& name;
    std::string_view qualified_name;
  };

  // A symbol is added in two steps, and the walk gives export flag and documentation in between.
  // Both throw ResultLimitError when the texts of this file become too many.
  models::SymbolArguments begin(const Found& found);
  FqnId add(const Found& found, models::SymbolArguments arguments);

  // An FQN that has members here, and no symbol.
  FqnId add_scope(FqnId parent, std::string_view qualified_name);

  // Puts the symbols in the order of their first lines, where a walk has not found them so. What
  // fqn() tells is void from then on.
  void put_in_order();

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
