// SyntaxTree: the library's tree, read once into an array in document order.
//
// A node is followed by its descendants, so that its first child is the next record, its next
// sibling the record at its subtree's end, and skipping what a node contains is one assignment.
// Both walks are loops over the array, and nothing recurses over the input. One record takes 40
// bytes; a file of code has about one node in six bytes.
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

// The types at which the rules' upward searches end: functions and classes for Python's constants,
// the export wrapper, the module and the whole program for the exports of JavaScript and
// TypeScript. Neither search ends at a type of the other's: Python has no export statements, and
// those have no types named function_definition and class_definition. A module ends Python's at the
// top of a file.
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
  std::uint32_t start_row;
  std::uint32_t start_column;
  std::uint32_t end_row;
  std::uint32_t parent;       // NONE for the root
  std::uint32_t previous;     // the sibling before it, or NONE
  std::uint32_t subtree_end;  // one past the last descendant
  std::uint32_t scope;        // the nearest ancestor that is a scope, or NONE
  std::uint16_t symbol;       // the grammar's symbol, or the alias that replaces it
  languages::NodeType type;
  std::uint8_t field;  // under which the parent has it, or 0; read for Fields::all only
};
static_assert(sizeof(NodeRecord) == 40);

// Whether the fields of all nodes are read. The library answers for a few nodes at a time; rules
// that ask for the field of every name want them in the records.
enum class Fields : std::uint8_t { on_demand, all };

// What a node tells of syntax errors: it is around what fits no rule, or was made up to go on.
enum class Recovery : std::uint8_t { none, error, missing };

// What it takes to ask the library about a node: the address of its subtree and its alias.
struct NodeHandle {
  const void* subtree;
  std::uint16_t alias;
};

// The memory in which the library's tree lies, given back as a whole when the tree ends.
struct ResetArena {
  void operator()(ParseArena* arena) const { arena->reset(); }
};
using ArenaLease = std::unique_ptr<ParseArena, ResetArena>;

class SyntaxTree {
 public:
  // Reads the whole tree, which lies in the leased arena. The language lives as long as the
  // process; the source must outlive the SyntaxTree.
  SyntaxTree(ArenaLease lease, const TSTree& tree, const languages::Language& language,
             const Source& source, Fields fields = Fields::on_demand);

  const NodeRecord& record(std::uint32_t index) const { return _records[index]; }
  // At least 1: record 0 is the root.
  std::uint32_t size() const { return static_cast<std::uint32_t>(_records.size()); }

  const languages::Language& language() const { return *_language; }
  const Source& source() const { return *_source; }

  // The library's answers, for the few questions where only it knows: as indexes of records, NONE
  // where there is no such node.
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
  std::vector<NodeHandle> _handles;
};

}  // namespace engines::treesitter
