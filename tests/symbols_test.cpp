// The symbol walk: which nodes declare a symbol, of which kind, and by which name.
#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

#include "tests/support/engine_peer.h"
#include "tests/support/inputs.h"
#include "tests/support/parse.h"
#include "tests/support/parsed_tree.h"
#include "tests/support/sanitizers.h"

namespace engines::treesitter {
namespace {

// "class A, method A.f": kind and FQN of each symbol in their order, the FQN without "input.".
std::string listed(const ParseResult& result) {
  std::string text;
  for (const models::Symbol& symbol : result.symbols) {
    EXPECT_TRUE(symbol.fqn.starts_with("input.") && symbol.fqn.ends_with(symbol.name));
    if (!text.empty()) text += ", ";
    text.append(models::kind_text(symbol.kind)).append(1, ' ').append(symbol.fqn.substr(6));
  }
  for (const std::string& error : result.errors) text += '!' + error;
  return text;
}

struct Case {
  std::string_view language;
  std::string_view source;
  std::string_view expected;
};

void expect_symbols(const std::vector<Case>& cases) {
  for (const Case& c : cases) {
    EXPECT_EQ(listed(parse(c.source, c.language)), c.expected) << c.language << ": " << c.source;
  }
}

// ---- Kinds ----

// The golden cases show what each language declares.
TEST(SymbolKindTest, TheTableKnowsNoLanguage) {
  expect_symbols({
      // Entries of dictionaries and hashes are pairs, like those of JSON.
      {"python", "x = {k: 1, 'a': v, 'b': 2}", "variable k, variable v"},
      {"ruby", "x = {k => 1, b: 2}", "variable k"},
      {"typescript", "x = {'a': v, [k]: w, 'b': 2, s};", "variable v, variable w"},
      {"tsx", "enum E {}", "enum E"},
  });
}

TEST(PythonConstantTest, ModuleLevelNames) {
  expect_symbols({
      {"python", "__ = 1\n_1 = 1\nA_1 = 1\n", "constant A_1"},
      {"python", "é_Ü = 1\n名_A = 1\n名_前 = 1\n", "constant 名_A"},
      {"python", "A_B, C_D = 1, 2\n[A_B] = x\n", ""},
      // The first name decides, and the inner assignment is judged by itself.
      {"python", "a = C_D = 1\n", "constant C_D"},
      {"python", "x.y = A_B\n", "constant A_B"},
      // Blocks do not matter, only functions and classes.
      {"python", "if x:\n  A_B = 1\nelse:\n  with y:\n    try:\n      C_D = 1\n    finally: pass\n",
       "constant A_B, constant C_D"},
      // Annotated names too.
      {"python", "def f():\n  if x:\n    n: int = 0\n", "function f"},
      {"python", "if x:\n  n: int\n", "constant n"},
  });
}

// No other grammar has an assignment that the rule would accept, so this asks the rule itself.
TEST(PythonConstantTest, OnlyInPython) {
  const ParsedTree tree("A_B = 1", "python");
  const Node assignment = tree.nodes(NodeType::assignment).at(0);
  EXPECT_EQ(EnginePeer::_node_type_to_symbol_kind(assignment, "python"), "constant");
  EXPECT_EQ(EnginePeer::_node_type_to_symbol_kind(assignment, "ruby"), std::nullopt);
}

// ---- Names ----

TEST(SymbolNameTest, GenericRule) {
  expect_symbols({
      // A name that is no child does not count, and the declarations inside belong to the outer
      // one.
      {"csharp", "namespace N { namespace A.B { class C {} } }", "module N, class N.C"},
      {"php", "<?php class É_1 { function ñ() {} }", "class É_1, method É_1.ñ"},
      // Whitespace is trimmed. The empty text that may be left is a name.
      {"markdown", "# \u3000A\u00A0\n# \u2003\n", "function A, function "},
      // A missing name, which error recovery inserts, does not count.
      {"java", "class A { void () { class B {} } }", "class A, class A.B"},
      {"javascript", "class A { #p() {} 'q'() {} [r]() {} 1() {} async *s() {} }",
       "class A, method A.s"},
      // The second function's only identifier is its body, which is taken for its name.
      {"javascript", "async x => x; (y) => z; (y) => z + 1;", "function x, function z"},
  });
}

TEST(SymbolNameTest, Json) {
  expect_symbols({
      {"json", R"({"'a'": 1, " a ": 2, "a.b": 3})", "variable 'a', variable  a , variable a.b"},
      // If the key is no string, the first string is the value.
      {"json", R"({1: "x", 2: 3})", "variable x"},
  });
}

TEST(SymbolNameTest, Yaml) {
  expect_symbols({
      {"yaml", "'it''s': 1\n\"a\\\"b\": 2\n", "variable it''s, variable a\\\"b"},
      {"yaml", "? {a: 1}\n: {b: 2}\n", "variable a, variable b"},
      {"yaml", "? - a\n: b\n", ""},
      {"yaml", ": value\n", ""},
      {"yaml", "!t key: 1\n", "variable key"},
      {"yaml", "{a: 1, 'b': 2, \"c\": 3, : 4}\n", "variable a, variable b, variable c"},
      // A block scalar as a key.
      {"yaml", "? | \n  first\n: 1\n", "variable first"},
      {"yaml", "? >-\n  first\n\n   second  third\n: 1\n", "variable first second third"},
      {"yaml", "? |+\n  a\n\n: 1\n", "variable a"},
      {"yaml", "? >-2\n  first\n: 1\n", "variable >-2\n  first"},
      {"yaml", "? | # note\n  first\n: 1\n", "variable | # note\n  first"},
  });
}

TEST(SymbolNameTest, Toml) {
  expect_symbols({{"toml", "[ a . \"b\" ]\n['r']\n", "class a . \"b\", class r"}});
}

// ---- The walk ----

TEST(SymbolWalkTest, TheFirstOfAnFqnWins) {
  expect_symbols({
      {"python",
       "class A:\n  def f(self): pass\n  def f(self):\n    def g(): pass\n  def h(self): pass\n",
       "class A, function A.f, function A.h"},
      {"python", "def f(): pass\nclass f:\n  def g(self): pass\ndef g(): pass\n",
       "function f, function g"},
      // Under different parents one name is two.
      {"python", "def f():\n  def f():\n    def f(): pass\n",
       "function f, function f.f, function f.f.f"},
      // A name with a full stop may give an FQN that there is already.
      {"json", R"({"a": {"b": 1}, "a.b": {"c": 2}})", "variable a, variable a.b"},
  });
}

// ---- Costs ----

constexpr std::size_t COUNT = IS_SANITIZED ? 20'000 : 200'000;

TEST(SymbolWalkTest, ManyNestedBrackets) {
  const ParseResult result =
      parse(repeated("[", COUNT) + "{\"a\": 1}" + repeated("]", COUNT), "json");
  EXPECT_EQ(listed(result), "variable a");
}

TEST(SymbolWalkTest, ManyStatements) {
  const std::string source = repeated("x = 1\n", COUNT) + "class A:\n  f: int\n";
  EXPECT_EQ(listed(parse(source, "python")), "class A, constant A.f");
}

TEST(SymbolWalkTest, ManyItems) {
  EXPECT_EQ(listed(parse("[" + repeated("{},", COUNT) + "{\"a\": 1}]", "json")), "variable a");
}

TEST(SymbolWalkTest, ManyComments) {
  const std::string comments = repeated("# c\n", COUNT / 2);
  EXPECT_EQ(listed(parse("class A\nend\n" + comments + "class B\nend\n", "ruby")),
            "class A, class B");
  // Comments before all code: after code the scanner would read all further comments again for each
  // of them, and a guard would end the parse.
  EXPECT_EQ(listed(parse(comments + "A_B = 1\n", "python")), "constant A_B");
}

// Constants with many levels between them and their function or class.
TEST(SymbolWalkTest, ConstantsDeepInBlocks) {
  constexpr std::size_t DEPTH = 300;  // of indentation, whose text grows with its square
  std::string source;
  for (std::size_t i = 0; i < DEPTH; ++i) source += std::string(i, ' ') + "if x:\n";
  for (std::size_t i = 0; i < DEPTH; ++i) {
    source += std::string(DEPTH, ' ') + "A_" + std::to_string(i) + " = 1\n";
  }
  EXPECT_EQ(parse(source, "python").symbols.size(), DEPTH);
}

}  // namespace
}  // namespace engines::treesitter
