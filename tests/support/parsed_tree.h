// The tree of a source, for tests of operations that take a node.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "engines/languages/languages.h"
#include "engines/treesitter/memory/arena.h"
#include "engines/treesitter/parsing/node.h"
#include "engines/treesitter/parsing/parser.h"
#include "engines/treesitter/parsing/syntax_tree.h"
#include "engines/treesitter/reading/source.h"

namespace engines::treesitter {

// Owns everything that its nodes point to.
class ParsedTree {
 public:
  ParsedTree(std::string_view source, std::string_view language, Fields fields = Fields::on_demand)
      : _bytes(source),
        _source(_bytes),
        _parser(*languages::get_language(language)),
        _tree(_parser.parse(_source, _arena, fields)) {}
  ParsedTree(const ParsedTree&) = delete;
  ParsedTree& operator=(const ParsedTree&) = delete;

  const Source& source() const { return _source; }
  Node root() const { return Node(_tree, 0); }

  // All nodes of a type, in document order.
  std::vector<Node> nodes(NodeType type) const {
    std::vector<Node> found;
    for (std::uint32_t i = 0; i < _tree.size(); ++i) {
      if (_tree.record(i).type == type) found.emplace_back(_tree, i);
    }
    return found;
  }

 private:
  const std::string _bytes;
  const Source _source;
  ParseArena _arena;
  Parser _parser;  // the tree points to the parser's grammar
  const SyntaxTree _tree;
};

}  // namespace engines::treesitter
