// The tree array, compared with the library's own accessors for a tree that a plain parser made of
// the same bytes: on all sources of the project and on broken copies of them.
#include <gtest/gtest.h>
#include <tree_sitter/api.h>

#include <algorithm>
#include <memory>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "engines/languages/language.h"
#include "tests/support/inputs.h"
#include "tests/support/parsed_tree.h"
#include "tests/support/sanitizers.h"

namespace engines::treesitter {
namespace {

// The library's tree, made without the engine's guards.
class LibraryTree {
 public:
  LibraryTree(const std::string& bytes, const languages::Language& language) {
    const std::unique_ptr<TSParser, decltype(&ts_parser_delete)> parser(ts_parser_new(),
                                                                        ts_parser_delete);
    ts_parser_set_language(parser.get(), language.grammar());
    _tree = ts_parser_parse_string(parser.get(), nullptr, bytes.data(),
                                   static_cast<std::uint32_t>(bytes.size()));
  }
  ~LibraryTree() { ts_tree_delete(_tree); }
  LibraryTree(const LibraryTree&) = delete;
  LibraryTree& operator=(const LibraryTree&) = delete;
  TSNode root() const { return ts_tree_root_node(_tree); }
  const TSTree& tree() const { return *_tree; }

 private:
  TSTree* _tree;
};

// The fields that rules ask for.
const std::pair<Field, std::string_view> FIELDS[] = {
    {Field::attribute, "attribute"},     {Field::body, "body"}, {Field::function, "function"},
    {Field::module_name, "module_name"}, {Field::name, "name"}, {Field::property, "property"},
};

// All nodes of the library's tree in document order, with the end of its subtree for each.
struct LibraryNodes {
  std::vector<TSNode> nodes;
  std::vector<std::uint32_t> subtree_ends;
  std::vector<std::uint32_t> parents;
  std::vector<std::uint16_t> fields;

  explicit LibraryNodes(TSNode root) {
    TSTreeCursor cursor = ts_tree_cursor_new(root);
    std::vector<std::uint32_t> open;
    for (bool is_done = false; !is_done;) {
      parents.push_back(open.empty() ? NodeRecord::NONE : open.back());
      open.push_back(static_cast<std::uint32_t>(nodes.size()));
      nodes.push_back(ts_tree_cursor_current_node(&cursor));
      fields.push_back(ts_tree_cursor_current_field_id(&cursor));
      subtree_ends.push_back(0);
      if (ts_tree_cursor_goto_first_child(&cursor)) continue;
      for (;;) {
        subtree_ends[open.back()] = static_cast<std::uint32_t>(nodes.size());
        open.pop_back();
        if (ts_tree_cursor_goto_next_sibling(&cursor)) break;
        is_done = !ts_tree_cursor_goto_parent(&cursor);
        if (is_done) break;
      }
    }
    ts_tree_cursor_delete(&cursor);
  }
};

class Comparison {
 public:
  Comparison(const ParsedTree& tree, const LibraryNodes& library, Fields fields)
      : _tree(tree.root().tree()), _library(library), _fields(fields) {}

  // What a cursor gives in one pass.
  void compare_records() const {
    ASSERT_EQ(_tree.size(), _library.nodes.size());
    for (std::uint32_t i = 0; i < _tree.size(); ++i) {
      const Node ours(_tree, i);
      ASSERT_TRUE(is_same_record(ours, _tree.record(i), i))
          << "node " << i << ", " << ours.type_text();
      ASSERT_TRUE(ours.scope() == nearest_scope(ours)) << "node " << i << ", " << ours.type_text();
    }
  }

  // What the library computes for each node.
  void compare_accessors(bool has_aliases) {
    for (std::uint32_t i = 0; i < _tree.size(); ++i) {
      const TSNode theirs = _library.nodes[i];
      const Node ours(_tree, i);
      if (!has_aliases) {
        ASSERT_EQ(ours.type_text(), ts_node_type(theirs)) << i;
      }
      expect_same(ours.parent(), ts_node_parent(theirs), "parent", i);
      expect_same(ours.previous_sibling(), ts_node_prev_sibling(theirs), "previous sibling", i);
      if (_tree.record(i).previous != index_of(ours.previous_sibling())) {
        ++odd_siblings;
        // Only for nodes without width may the array's own answer differ.
        ASSERT_EQ(ours.start_byte(), ours.end_byte()) << i;
      }
      std::uint32_t count = 0;
      for (const Node child : ours.children()) {
        expect_same(child, ts_node_child(theirs, count++), "child", i);
      }
      ASSERT_EQ(count, ts_node_child_count(theirs)) << i;
      for (const auto& [field, name] : FIELDS) {
        const TSNode child = ts_node_child_by_field_name(theirs, name.data(),
                                                         static_cast<std::uint32_t>(name.size()));
        expect_same(ours.child_by_field(field), child, name, i);
      }
    }
  }

  std::size_t odd_siblings = 0;

 private:
  static std::uint32_t index_of(const std::optional<Node>& node) {
    return node ? node->index() : NodeRecord::NONE;
  }

  void expect_same(const std::optional<Node>& ours, TSNode theirs, std::string_view what,
                   std::uint32_t index) const {
    const bool is_same =
        ours ? ts_node_eq(_library.nodes[ours->index()], theirs) : ts_node_is_null(theirs);
    EXPECT_TRUE(is_same) << what << " of node " << index << ", " << Node(_tree, index).type_text();
  }

  bool is_same_record(const Node& node, const NodeRecord& ours, std::uint32_t index) const {
    const TSNode theirs = _library.nodes[index];
    const TSPoint start = ts_node_start_point(theirs);
    const languages::Language& language = _tree.language();
    return ours.start_byte == ts_node_start_byte(theirs) &&
           ours.end_byte == ts_node_end_byte(theirs) && node.start_row() == start.row &&
           node.start_column() == start.column && node.end_row() == ts_node_end_point(theirs).row &&
           ours.parent == _library.parents[index] &&
           ours.field == (_fields == Fields::all ? _library.fields[index] : 0) &&
           ours.subtree_end == _library.subtree_ends[index] &&
           ours.type == languages::node_type_of(language.type_name(ours.symbol)) &&
           language.type_name(ours.symbol) == language.type_name(ts_node_symbol(theirs));
  }

  static std::optional<Node> nearest_scope(const Node& node) {
    auto parent = node.parent();
    // The parent's answer has been checked before this one.
    if (parent && std::count(SCOPE_TYPES.begin(), SCOPE_TYPES.end(), parent->type()) == 0) {
      return parent->scope();
    }
    return parent;
  }

  const SyntaxTree& _tree;
  const LibraryNodes& _library;
  const Fields _fields;
};

std::size_t compare(const std::string& bytes, const std::string& language, bool with_accessors,
                    Fields fields = Fields::on_demand) {
  try {
    const ParsedTree ours(bytes, language, fields);
    const languages::Language& grammar = *languages::get_language(language);
    const LibraryTree theirs(bytes, grammar);
    const LibraryNodes nodes(theirs.root());
    Comparison comparison(ours, nodes, fields);
    comparison.compare_records();
    if (with_accessors && !testing::Test::HasFailure()) {
      comparison.compare_accessors(language == "java" || language == "sql");
    }
    return comparison.odd_siblings;
  } catch (const ParseError& error) {
    ADD_FAILURE() << error.what();
    return 0;
  }
}

TEST(SyntaxTreeTest, EqualsTheLibrarysAccessorsOnAllSources) {
  ASSERT_GT(inputs().size(), 16u);
  for (const Input& input : inputs()) {
    compare(input.bytes, input.language, true);
    compare(input.bytes, input.language, false, Fields::all);
    ASSERT_FALSE(HasFailure()) << input.name;
  }
}

TEST(SyntaxTreeTest, EqualsTheLibrarysAccessorsOnBrokenSources) {
  std::mt19937 random(11);
  for (const Input& input : inputs()) {
    std::string bytes;
    for (int i = 0; i < 12; ++i) {
      // Up to three faults, one after the other, then the whole source again.
      bytes = broken(i % 3 == 0 ? input.bytes : bytes, random);
      compare(bytes, input.language, true);
      compare(bytes, input.language, false, Fields::all);
      ASSERT_FALSE(HasFailure()) << input.name << ", time " << i;
    }
  }
}

// For some nodes without width the library names another sibling than the array. The library's
// answer counts; these sources have such nodes.
TEST(SyntaxTreeTest, SiblingsOfNodesWithoutWidth) {
  EXPECT_GT(compare("0.\n\n", "markdown", true), 0u);
  EXPECT_GT(compare("class A{\n{;);", "java", true), 0u);
  EXPECT_GT(compare("[0,5,2,[", "json", true), 0u);
}

TEST(SyntaxTreeTest, DeepAndWide) {
  constexpr std::size_t COUNT = IS_SANITIZED ? 10'000 : 100'000;
  compare(repeated("[", COUNT) + repeated("]", COUNT), "json", false);
  compare(repeated("{\"a\":", COUNT) + "1" + repeated("}", COUNT), "json", false);
  compare("[" + repeated("1,", COUNT) + "1]", "json", false);
  compare(repeated("x = 1\n", COUNT), "python", false);
  compare(repeated("# c\n", COUNT), "ruby", false);
  compare("x = 1" + repeated(" + 1", COUNT / 10), "javascript", false);
}

// Fields are asked of the library, which must stay cheap on a chain whose links start at one byte.
TEST(SyntaxTreeTest, FieldsOfALongChain) {
  const ParsedTree tree("a" + repeated(".b", 2'000), "python");
  for (const Node node : tree.nodes(NodeType::attribute)) {
    const auto field = node.child_by_field(Field::attribute);
    ASSERT_TRUE(field && field->bytes() == "b" && field->parent() == node);
  }
}

// One node whose children are all tokens, and a chain of nodes that are open until the end.
TEST(SyntaxTreeTest, ReadingIsCancelledWhateverTheShape) {
  for (const auto& [language, unit] : {std::pair{"json", "["}, std::pair{"javascript", "a+"}}) {
    const std::string bytes = repeated(unit, 200'000);
    const languages::Language& found = *languages::get_language(language);
    const LibraryTree library(bytes, found);
    std::stop_source cancelling;
    const Cancellation cancellation{.stop = cancelling.get_token()};
    StopCheck stop(cancellation);
    const Source source(bytes, stop);
    cancelling.request_stop();
    ParseArena arena;
    EXPECT_THROW(SyntaxTree(ArenaLease(&arena), library.tree(), found, source), CancelledError)
        << language;
  }
}

}  // namespace
}  // namespace engines::treesitter
