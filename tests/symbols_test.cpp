// The symbol walk: what declares a symbol, of which kind, under which name, and where it stands.
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

TEST(SymbolKindTest, EveryRowOfTheTable) {
  expect_symbols({
      {"python", "class A: pass\ndef f(): pass\nasync def g(): pass\n",
       "class A, function f, function g"},
      {"javascript", "class A { m() {} static s() {} get g() {} }\nfunction f() {}\n",
       "class A, method A.m, method A.s, method A.g, function f"},
      {"javascript", "const g = x => x;", "function x"},
      {"javascript", "x = {a: 1, b: {c: 2}};", "variable a, variable b, variable b.c"},
      {"typescript", "interface I {}\ntype T = I;\nenum E { X }\nclass A<B> {}\n",
       "interface I, type T, enum E, class A"},
      {"tsx", "function F() { return <a b={() => 1}/>; }\ninterface I {}",
       "function F, interface I"},
      {"java", "class A { A() {} String s; int i; void m() {} }",
       "class A, method A.A, variable A.String, method A.m"},
      {"java", "interface I { void m(); }\nenum E { X }\n@interface N { int n(); }\n",
       "interface I, method I.m, enum E, type N"},
      {"go", "package p\ntype T struct { F int }\nfunc f() {}\nfunc (t T) M() {}\n",
       "variable F, function f, method M"},
      {"rust",
       "fn f() {}\nstruct S { x: i32 }\nenum E { X }\ntrait T { fn m() {} }\nmod m { fn g() {} }\n"
       "const C: i32 = 1;\nstatic D: i32 = 1;\ntype A = B;\n",
       "function f, class S, variable S.x, enum E, interface T, function T.m, module m, "
       "function m.g, variable C, variable D, type A"},
      {"rust", "impl S { fn m() {} }\n", "class S, function S.m"},
      {"csharp",
       "namespace N { class A { A() {} int P { get; set; } int x; void M() {} } struct S {} "
       "interface I {} enum E { X } }",
       "module N, class N.A, method N.A.A, variable N.A.P, method N.A.M, class N.S, interface N.I, "
       "enum N.E"},
      {"ruby", "module M\n  class A\n    def f; end\n    def self.g; end\n  end\nend\n",
       "module M, class M.A, method M.A.f, method M.A.g"},
      {"php",
       "<?php function f() {} class A { public $p; function m() {} } interface I {} trait T {} "
       "enum E { case X; }",
       "function f, class A, method A.m, interface I, interface T, enum E"},
      {"sql",
       "CREATE TABLE t (a int);\nCREATE VIEW v AS SELECT 1;\nCREATE INDEX i ON t (a);\n"
       "CREATE MATERIALIZED VIEW w AS SELECT 1;\n"
       "CREATE FUNCTION f() RETURNS int AS $$ SELECT 1; $$ LANGUAGE sql;\n"
       "CREATE TRIGGER g AFTER INSERT ON t FOR EACH ROW EXECUTE FUNCTION f();\n",
       "class t, class v, variable i, class w, function f, function g"},
      {"markdown", "# A\n\n## B\n\nC\n===\n", "function A, function B"},
      {"json", "{\"a\": {\"b\": [{\"c\": 1}]}}", "variable a, variable a.b, variable a.b.c"},
      {"toml", "k = 1\n[t]\na = 1\n[[u]]\nb = {c = 1}\n",
       "variable k, class t, variable t.a, class u, variable u.b, variable u.b.c"},
      {"yaml", "a: &x\n  b: 1\nc: {d: 1}\n",
       "variable a, constant a.x, variable a.b, variable c, variable c.d"},
      {"xml", "<a><b/><c>d</c></a>", "variable a, variable a.b, variable a.c"},
  });
}

TEST(SymbolKindTest, TheTableKnowsNoLanguage) {
  expect_symbols({
      // Class expressions of JavaScript are of the type of Ruby's classes.
      {"javascript", "x = class A { m() {} };", "class A, method A.m"},
      {"typescript", "declare module M { class A {} }", "module M, class M.A"},
      // Entries of dictionaries and hashes are pairs, like those of JSON.
      {"python", "x = {k: 1, 'a': v, 'b': 2}", "variable k, variable v"},
      {"ruby", "x = {k => 1, b: 2}", "variable k"},
      {"javascript", "x = {'a': v, [k]: w, 'b': 2, s};", "variable v, variable w"},
  });
}

TEST(SymbolKindTest, WhatDeclaresNothing) {
  expect_symbols({
      {"python", "", ""},
      {"python", "x = 1\nimport a\nlambda: 1\nclass\n", ""},
      {"python", "X_Y += 1\n", ""},
      {"javascript", "const f = function () {}; let g = () => 1; var h;", ""},
      {"typescript", "abstract class A { f() {} }\ndeclare function g(): void;", "method f"},
      {"java", "record R(int a) {}", ""},
      {"rust", "macro_rules! m { () => {} }\nunion U { a: i32 }", "variable a"},
      {"ruby", "A = 1\nclass << self\n  def f; end\nend\n", "method f"},
      {"markdown", "text\n\n- list\n", ""},
      {"json", "[1, \"a\"]", ""},
      {"yaml", "- a\n- b\n", ""},
      {"xml", "text", ""},
  });
}

TEST(PythonConstantTest, ModuleLevelNames) {
  expect_symbols({
      {"python", "MAX_SIZE = 10\n", "constant MAX_SIZE"},
      {"python", "MAXSIZE = 10\nT = 1\nmax_size = 1\nMax_Size = 1\n_ = 1\n__ = 1\n_1 = 1\n", ""},
      {"python", "__ALL__ = []\nA_1 = 1\n_A = 1\n", "constant __ALL__, constant A_1, constant _A"},
      {"python", "É_Ü = 1\né_Ü = 1\n名_A = 1\n名_前 = 1\n", "constant É_Ü, constant 名_A"},
      {"python", "A_B, C_D = 1, 2\nA_B.x = 1\nA_B[0] = 1\n[A_B] = x\n", ""},
      // The first name decides, and the assignment inside is one of its own.
      {"python", "A_B = C_D = 1\n", "constant A_B, constant A_B.C_D"},
      {"python", "a = C_D = 1\n", "constant C_D"},
      {"python", "x.y = A_B\n", "constant A_B"},
      // Only functions and classes are levels.
      {"python", "if x:\n  A_B = 1\nelse:\n  with y:\n    try:\n      C_D = 1\n    finally: pass\n",
       "constant A_B, constant C_D"},
      {"python", "for x in y:\n  while z:\n    A_B = 1\n", "constant A_B"},
      {"python", "def f():\n  A_B = 1\nclass C:\n  A_B = 1\n", "function f, class C"},
      {"python", "class C:\n  if x:\n    A_B = 1\n", "class C"},
      // Of other languages' assignments none is asked.
      {"ruby", "A_B = 1\n", ""},
      {"javascript", "A_B = 1", ""},
  });
}

// No other grammar has an assignment that the rule would accept.
TEST(PythonConstantTest, OnlyInPython) {
  const ParsedTree tree("A_B = 1", "python");
  const Node assignment = tree.nodes(NodeType::assignment).at(0);
  EXPECT_EQ(EnginePeer::_node_type_to_symbol_kind(assignment, "python"), "constant");
  EXPECT_EQ(EnginePeer::_node_type_to_symbol_kind(assignment, "ruby"), std::nullopt);
}

TEST(PythonConstantTest, Annotations) {
  expect_symbols({
      {"python", "timeout: int = 5\nx: int\n", "constant timeout, constant x"},
      {"python", "class C:\n  name: str\n  n: int = 0\n", "class C, constant C.name, constant C.n"},
      {"python", "def f():\n  count: int = 0\n", "function f"},
      {"python", "class C:\n  def f(self):\n    count: int = 0\n", "class C, function C.f"},
      {"python", "def f():\n  class C:\n    n: int = 0\n", "function f, class f.C, constant f.C.n"},
      {"python", "def f():\n  if x:\n    n: int = 0\n", "function f"},
      {"python", "if x:\n  n: int\n", "constant n"},
      // Without a name there is no symbol.
      {"python", "class C:\n  self.x: int = 0\n", "class C"},
  });
}

// ---- Names ----

TEST(SymbolNameTest, GenericRule) {
  expect_symbols({
      // The first child of a naming type wins, whatever it means.
      {"java", "class A { Foo bar; List<T> baz; }", "class A, variable A.Foo"},
      {"csharp", "class A { Foo M() {} Bar P { get; } }", "class A, method A.Foo, variable A.Bar"},
      {"rust", "impl T for S {}\nimpl<T> Foo<T> { fn f() {} }", "class T, function f"},
      {"ruby", "def obj.run; end\ndef ==(o); end\ndef a=(v); end\n", "method obj"},
      {"go", "package p\ntype T struct { Base\n *Other\n a, b int }",
       "variable Base, variable Other, variable a"},
      // No name, or only one further down: the declarations inside are the enclosing one's.
      {"ruby", "class A::B\n  def f; end\nend\n", "method f"},
      {"csharp", "namespace A.B { class C {} }", "class C"},
      {"csharp", "namespace N { namespace A.B { class C {} } }", "module N, class N.C"},
      {"php", "<?php class A { public Foo $p; }", "class A"},
      {"php", "<?php class É_1 { function ñ() {} }", "class É_1, method É_1.ñ"},
      {"markdown", "# Install steps  \t\n##   B ##\n", "function Install steps, function B ##"},
      {"markdown", "#\n# A `b` *c*\n", "function A `b` *c*"},
      // White space goes, and may leave the empty text, which is a name.
      {"markdown", "# \u3000A\u00A0\n# \u2003\n", "function A, function "},
      // A name that the parser had to invent is none.
      {"java", "class A { void () { class B {} } }", "class A, class A.B"},
      {"sql", "CREATE TABLE public.orders (a int);\nCREATE TABLE \"q t\" (a int);\n",
       "class public.orders, class \"q t\""},
      {"javascript", "class A { #p() {} 'q'() {} [r]() {} 1() {} async *s() {} }",
       "class A, method A.s"},
      // Of this one the only name among the children is its body.
      {"javascript", "async x => x; (y) => z; (y) => z + 1;", "function x, function z"},
  });
}

TEST(SymbolNameTest, Xml) {
  expect_symbols({
      {"xml", "<item/>", "variable item"},
      {"xml", "<item a=\"b\">c</item>", "variable item"},
      {"xml", "<a:b xmlns:a=\"c\"><c-1/></a:b>", "variable a:b, variable a:b.c-1"},
      {"xml", "<a><b/><b><c/></b></a>", "variable a, variable a.b"},
  });
}

TEST(SymbolNameTest, Json) {
  expect_symbols({
      {"json", R"({"name": 1})", "variable name"},
      {"json", R"({"a\"b": 1, "\u0041": 2})", R"(variable a\"b, variable \u0041)"},
      {"json", R"({"": {"a": 1}})", "variable , variable .a"},
      {"json", R"({"'a'": 1, " a ": 2, "a.b": 3})", "variable 'a', variable  a , variable a.b"},
      // A key that is no string leaves the value to be the first one.
      {"json", R"({1: "x", 2: 3})", "variable x"},
  });
}

TEST(SymbolNameTest, Yaml) {
  expect_symbols({
      {"yaml", "key: 1\n", "variable key"},
      {"yaml", "'quoted key': 1\n\"other\": 2\n", "variable quoted key, variable other"},
      {"yaml", "'it''s': 1\n\"a\\\"b\": 2\n", "variable it''s, variable a\\\"b"},
      {"yaml", "'': 1\n", "variable "},
      {"yaml", "? {a: 1}\n: {b: 2}\n", "variable a, variable b"},
      {"yaml", "? [a]\n: b\n", ""},
      {"yaml", "? - a\n: b\n", ""},
      {"yaml", ": value\n", ""},
      {"yaml", "? key\n: value\n", "variable key"},
      {"yaml", "&x key: 1\n", "variable key, constant key.x"},
      {"yaml", "*x : 1\n", ""},
      {"yaml", "!t key: 1\n", "variable key"},
      {"yaml", "{a: 1, 'b': 2, \"c\": 3, : 4}\n", "variable a, variable b, variable c"},
      {"yaml", "[a: 1]\n", "variable a"},
      {"yaml", "12: a\nnull: b\n", "variable 12, variable null"},
      {"yaml", "a: 1\nb:\n  a: 2\na: 3\n", "variable a, variable b, variable b.a"},
      // A block scalar as a key.
      {"yaml", "? |\n  first\n  second\n: 1\n", "variable first second"},
      {"yaml", "? | \n  first\n: 1\n", "variable first"},
      {"yaml", "? >-\n  first\n\n   second  third\n: 1\n", "variable first second third"},
      {"yaml", "? |+\n  a\n\n: 1\n", "variable a"},
      {"yaml", "? |2\n  first\n  second\n: 1\n", "variable |2\n  first\n  second"},
      {"yaml", "? >-2\n  first\n: 1\n", "variable >-2\n  first"},
      {"yaml", "? | # note\n  first\n: 1\n", "variable | # note\n  first"},
  });
}

TEST(SymbolNameTest, Toml) {
  expect_symbols({
      {"toml", "[server]\n", "class server"},
      {"toml", "[[servers.alpha]]\n", "class servers.alpha"},
      {"toml", "[ a . \"b\" ]\n", "class a . \"b\""},
      {"toml", "[\"q k\"]\n['r']\n", "class q k, class r"},
      {"toml", "\"quoted key\" = 1\n'' = 2\n", "variable quoted key, variable "},
      {"toml", "a.b = 1\na.\"c\" = 2\n", "variable a.b, variable a.\"c\""},
      {"toml", "a = {b = {c.d = 1}}\n", "variable a, variable a.b, variable a.b.c.d"},
      {"toml", "a = [{b = 1}, {b = 2}]\n", "variable a, variable a.b"},
      {"toml", "[[a]]\nb = 1\n[[a]]\nc = 2\n", "class a, variable a.b"},
  });
}

// ---- The walk ----

TEST(SymbolWalkTest, TheFirstOfAnFqnWins) {
  expect_symbols({
      {"python",
       "class A:\n  def f(self): pass\n  def f(self):\n    def g(): pass\n  def h(self): pass\n",
       "class A, function A.f, function A.h"},
      {"javascript", "class A { get x() {} set x(v) { function g() {} } }", "class A, method A.x"},
      {"python", "def f(): pass\nclass f:\n  def g(self): pass\ndef g(): pass\n",
       "function f, function g"},
      // Under different parents one name is two.
      {"python", "def f():\n  def f():\n    def f(): pass\n",
       "function f, function f.f, function f.f.f"},
      // A name with a full stop may be another one's FQN.
      {"json", R"({"a": {"b": 1}, "a.b": {"c": 2}})", "variable a, variable a.b"},
  });
}

TEST(SymbolWalkTest, WhatDeclaresNothingIsTransparent) {
  expect_symbols({
      {"python", "@d\nclass A:\n  if x:\n    @d\n    def f(self): pass\n", "class A, function A.f"},
      {"typescript", "export default class A { @d() m() {} }", "class A, method A.m"},
      {"javascript", "f(() => { class A {} });", "class A"},
      {"python", "def f():\n  for x in y:\n    with z:\n      class A: pass\n",
       "function f, class f.A"},
      {"python", ")))\nclass A:\n  def f(self): pass\n", "class A, function A.f"},
  });
}

TEST(SymbolWalkTest, LinesAreThoseOfTheDeclaration) {
  const auto lines = [](std::string_view source, std::string_view language) {
    std::string text;
    for (const models::Symbol& symbol : parse(source, language).symbols) {
      text += std::to_string(symbol.start_line) + '-' + std::to_string(symbol.end_line) + ' ';
    }
    return text;
  };
  EXPECT_EQ(lines("def f(): pass", "python"), "1-1 ");
  EXPECT_EQ(lines("\n\nclass A:\n  def f(self):\n    pass\n\n\nX_Y = 1\n", "python"),
            "3-5 4-5 8-8 ");
  EXPECT_EQ(lines("@d\ndef f():\n  pass\n", "python"), "2-3 ");
  EXPECT_EQ(lines("class A\r\nend\r\n", "ruby"), "1-2 ");
  // A heading ends where the next line begins.
  EXPECT_EQ(lines("# A\n\n# B", "markdown"), "1-2 3-3 ");
}

// ---- Costs ----

constexpr std::size_t COUNT = IS_SANITIZED ? 20'000 : 1'000'000;

TEST(SymbolWalkTest, AMillionNestedBrackets) {
  const ParseResult result =
      parse(repeated("[", COUNT) + "{\"a\": 1}" + repeated("]", COUNT), "json");
  EXPECT_EQ(listed(result), "variable a");
}

TEST(SymbolWalkTest, AMillionStatements) {
  const std::string source = repeated("x = 1\n", COUNT) + "class A:\n  f: int\n";
  EXPECT_EQ(listed(parse(source, "python")), "class A, constant A.f");
}

TEST(SymbolWalkTest, AMillionItems) {
  EXPECT_EQ(listed(parse("[" + repeated("{},", COUNT) + "{\"a\": 1}]", "json")), "variable a");
}

TEST(SymbolWalkTest, AHundredThousandComments) {
  const std::string comments = repeated("# c\n", COUNT / 10);
  EXPECT_EQ(listed(parse("class A\nend\n" + comments + "class B\nend\n", "ruby")),
            "class A, class B");
  // Comments before any code only: behind it, the grammar's scanner reads all that follow once more
  // for each, and a guard ends the parse.
  EXPECT_EQ(listed(parse(comments + "A_B = 1\n", "python")), "constant A_B");
}

// Constants that look for their function or class through many levels.
TEST(SymbolWalkTest, ConstantsDeepInBlocks) {
  constexpr std::size_t DEPTH = 300;  // of indentation, whose text grows with its square
  std::string source;
  for (std::size_t i = 0; i < DEPTH; ++i) source += std::string(i, ' ') + "if x:\n";
  for (std::size_t i = 0; i < DEPTH; ++i) {
    source += std::string(DEPTH, ' ') + "A_" + std::to_string(i) + " = 1\n";
  }
  EXPECT_EQ(parse(source, "python").symbols.size(), DEPTH);
}

TEST(SymbolWalkTest, NamesThatRepeatTheirAncestorsAreBounded) {
  // 2 MB of nested keys would give FQNs of half a terabyte.
  const std::string source = repeated("{\"a\":", COUNT / 3) + "1" + repeated("}", COUNT / 3);
  EXPECT_THROW(parse(source, "json"), ResultLimitError);
  // Keys side by side have no such trouble.
  std::string flat = "{";
  for (std::size_t i = 0; i < COUNT / 10; ++i) flat += "\"a" + std::to_string(i) + "\": 1,";
  flat.back() = '}';
  EXPECT_EQ(parse(flat, "json").symbols.size(), COUNT / 10);
}

}  // namespace
}  // namespace engines::treesitter
