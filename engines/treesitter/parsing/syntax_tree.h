// SyntaxTree: the library's tree, read once into an array in document order.
//
// A node's descendants follow it, so its first child is the next record, and its next sibling is
// the record at the end of its subtree. Walks are loops over the array, without recursion. A record
// takes 28 bytes beside the 8 of its address in the library, and a file of code has about one node
// in six bytes. Rows are not among them: the source finds one from an offset.
//
// Tested by tests/syntax_tree_test.cpp against the library's own accessors.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <vector>

#include "engines/languages/language.h"
#include "engines/languages/node_types.h"
#include "engines/treesitter/memory/arena.h"
#include "engines/treesitter/reading/source.h"

struct TSTree;
struct TSNode;

namespace engines::treesitter {

// How many nodes a loop over the records visits between two checks for cancellation.
inline constexpr std::uint32_t NODES_PER_CHECK = 64 * 1024;

// The types at which the rules' searches among ancestors end. That for Python's constants ends at
// functions, classes and the module; that for exports of JavaScript and TypeScript ends at the
// export statement, the program and the module. One list serves both: Python's grammar has no
// export_statement, and the others have no function_definition or class_definition.
inline constexpr std::array SCOPE_TYPES = {
    languages::NodeType::function_definition,
    languages::NodeType::class_definition,
    languages::NodeType::export_statement,
    languages::NodeType::program,
    languages::NodeType::module,
};

struct NodeRecord {
  static constexpr std::uint32_t NONE = UINT32_MAX;

  std::uint32_t start_byte;
  std::uint32_t end_byte;
  std::uint32_t parent;       // NONE for the root
  std::uint32_t previous;     // the previous sibling, or NONE
  std::uint32_t subtree_end;  // one past the last descendant
  std::uint32_t scope;        // the nearest ancestor whose type is in SCOPE_TYPES, or NONE
  std::uint16_t symbol;       // the grammar's symbol, or the alias that replaces it
  languages::NodeType type;
  std::uint8_t field;  // under which the parent has it, or 0; always 0 for Fields::on_demand
};
static_assert(sizeof(NodeRecord) == 28);

// Whether the fields of all nodes are read into the records. The navigation rules ask for the field
// of every name; the standard rules ask the library for a few.
enum class Fields : std::uint8_t { on_demand, all };

// Whether a node comes from a syntax error: `error` is around text that fits no rule, `missing` was
// inserted by the parser.
enum class Recovery : std::uint8_t { none, error, missing };

// The arena that holds the library's tree; reset when the tree is destroyed.
struct ResetArena {
  void operator()(ParseArena* arena) const { arena->reset(); }
};
using ArenaLease = std::unique_ptr<ParseArena, ResetArena>;

class SyntaxTree {
 public:
  // Reads the whole tree, which lies in the arena of `lease`. The language and the source must
  // outlive this.
  SyntaxTree(ArenaLease lease, const TSTree& tree, const languages::Language& language,
             const Source& source, Fields fields = Fields::on_demand);

  const NodeRecord& record(std::uint32_t index) const { return _records[index]; }
  // At least 1. Record 0 is the root.
  std::uint32_t size() const { return static_cast<std::uint32_t>(_records.size()); }

  const languages::Language& language() const { return *_language; }
  const Source& source() const { return *_source; }

  // Questions that only the library can answer. The nodes are indexes of records; NONE if there is
  // no such node.
  std::uint32_t child_by_field(std::uint32_t index, std::uint16_t field) const;
  std::uint32_t library_previous_sibling(std::uint32_t index) const;
  Recovery recovery(std::uint32_t index) const;

 private:
  template <Fields>
  friend class TreeReader;

  TSNode library_node(std::uint32_t index) const;
  std::uint32_t find(const TSNode& node, std::uint32_t first, std::uint32_t end) const;

  ArenaLease _lease;
  const TSTree* _tree;
  const languages::Language* _language;
  const Source* _source;
  std::vector<NodeRecord> _records;
  std::vector<const void*> _subtrees;  // by which the library knows the nodes
};

}  // namespace engines::treesitter
