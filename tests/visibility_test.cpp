// Export flags: one rule per language, and Ruby's sections.
#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "tests/support/engine_peer.h"
#include "tests/support/parse.h"
#include "tests/support/parsed_tree.h"

namespace engines::treesitter {
namespace {

// "+A -b": each symbol's name behind its flag, in the order of the symbols.
std::string flags(const ParseResult& result) {
  std::string text;
  for (const models::Symbol& symbol : result.symbols) {
    if (!text.empty()) text += ' ';
    text += (symbol.is_export ? '+' : '-') + symbol.name;
  }
  return text;
}

struct Case {
  std::string_view source;
  std::string_view expected;
};

void expect_flags(std::string_view language, const std::vector<Case>& cases) {
  for (const Case& c : cases) {
    EXPECT_EQ(flags(parse(c.source, language)), c.expected) << language << ": " << c.source;
  }
}

TEST(ExportTest, Python) {
  const std::vector<Case> python = {
      {"def load(): pass\n", "+load"},
      {"def _load(): pass\n", "-_load"},
      {"class A:\n  def __init__(self): pass\n  def run(self): pass\n", "+A -__init__ +run"},
      {"class _Impl: pass\n", "-_Impl"},
      {"MAX_SIZE = 1\n_MAX_SIZE = 2\n", "+MAX_SIZE -_MAX_SIZE"},
      // What encloses it does not matter.
      {"def _f():\n  def g(): pass\n", "-_f +g"},
  };
  expect_flags("python", python);
}

TEST(ExportTest, Go) {
  const std::vector<Case> go = {
      {"package p\nfunc Parse() {}\n", "+Parse"},
      {"package p\nfunc parse() {}\n", "-parse"},
      {"package p\nfunc _x() {}\n", "-_x"},
      {"package p\nfunc (c *Conf) Load() {}\n", "+Load"},
      {"package p\nfunc (C *Conf) load() {}\n", "-load"},
      {"package p\nfunc \u00C9t\u00E9() {}\n", "+\u00C9t\u00E9"},
      {"package p\nfunc \u00E9t\u00E9() {}\n", "-\u00E9t\u00E9"},
      {"package p\nfunc \u4E16() {}\n", "-\u4E16"},  // without case
      {"package p\nfunc \u01C5() {}\n", "-\u01C5"},  // title case
  };
  expect_flags("go", go);
}

TEST(ExportTest, Java) {
  const std::vector<Case> java = {
      {"class A { public static void main() {} }", "-A +main"},
      {"public class A { protected void f() {} private void g() {} }", "+A -f -g"},
      {"interface I { void f(); public void g(); }", "-I -f +g"},
      // The word may stand anywhere among the modifiers and annotations.
      {"class A { @Doc(\"public\") void f() {} @Republican void g() {} }", "-A +f +g"},
      {"class A { @Doc(\"Public\") void f() {} }", "-A -f"},
  };
  expect_flags("java", java);
}

TEST(ExportTest, CSharp) {
  const std::vector<Case> csharp = {
      {"public class Foo { }", "+Foo"},
      {"class Foo { internal void F() { } }", "-Foo -F"},
      {"[ApiController] internal class FooController { }", "+FooController"},
      {"[Serializable] internal class FooController { }", "-FooController"},
      {"class A { [HttpPost] private void F() { } private void G() { } }", "-A +F -G"},
      {"class A { [HttpGet(\"x\")] void F() { } [Route(\"x\")] void G() { } }", "-A +F +G"},
      // Any attribute whose text contains a marker.
      {"[RoutePrefix(\"x\")] class A { }", "+A"},
      {"class A { [HttpGetAttribute] void F() { } [Name(\"Controller\")] void G() { } }",
       "-A +F +G"},
      {"class A { [A, B] [HttpPost] void F() { } [HttpPut] void G() { } }", "-A +F -G"},
      {"class Controller { }", "-Controller"},
  };
  expect_flags("csharp", csharp);
}

TEST(ExportTest, Php) {
  const std::vector<Case> php = {
      {"<?php class A {} interface B {} trait C {}", "+A +B +C"},
      {"<?php abstract class A { private $x; }", "+A"},
      {"<?php function f() {}", "+f"},
      {"<?php enum E {}", "+E"},
      {"<?php class A { function f() {} public function g() {} }", "+A +f +g"},
      {"<?php class A { private function f() {} protected function g() {} }", "+A -f -g"},
      {"<?php class A { private static function f() {} static protected function g() {} }",
       "+A -f -g"},
      // A child that reads as a hiding word hides, its name included.
      {"<?php class A { public function private() {} }", "+A -private"},
      {"<?php class A { public function protector() {} }", "+A +protector"},
  };
  expect_flags("php", php);
}

// Properties have no name that the symbol walk finds, so the rule is asked itself.
TEST(ExportTest, PhpProperties) {
  const ParsedTree tree(
      "<?php class A { protected $x; private static int $w; public $y; var $z; static $s; "
      "public private(set) int $p; }",
      "php");
  std::vector<bool> flags_in_order;
  for (const Node& node : tree.nodes(NodeType::property_declaration)) {
    flags_in_order.push_back(EnginePeer::_is_php_public(node));
  }
  EXPECT_EQ(flags_in_order, (std::vector{false, false, true, true, true, false}));
}

TEST(ExportTest, Rust) {
  const std::vector<Case> rust = {
      {"pub fn f() {}", "+f"},
      {"pub(crate) struct S;", "+S"},
      {"pub(in a::b) fn f() {}", "+f"},
      {"crate fn f() {}", "-f"},
      {"fn f() {}", "-f"},
      {"impl T for S { fn f() {} }", "-T -f"},
      {"trait T { fn f() {} }", "-T -f"},
      {"pub mod m { fn f() {} }", "+m -f"},
  };
  expect_flags("rust", rust);
}

TEST(ExportTest, JavaScriptFamily) {
  const std::vector<Case> cases = {
      {"export function f() {}", "+f"},
      {"export class C { m() {} }", "+C +m"},
      {"export default function f() {}", "+f"},
      {"function f() {}", "-f"},
      {"class C { m() {} }", "-C -m"},
      {"function f() {}\nexport { f };", "-f"},
      // However deep it stands.
      {"export function f() { function g() { class C {} } }", "+f +g +C"},
      {"function f() {}\nexport function g() {}\nfunction h() {}", "-f +g -h"},
  };
  for (const std::string_view language : {"javascript", "typescript", "tsx"}) {
    expect_flags(language, cases);
  }
  const std::vector<Case> typescript = {
      {"export interface I {} export enum E {} export type T = I;", "+I +E +T"},
      {"interface I {} enum E {} type T = I;", "-I -E -T"},
      // The search ends at a module, outside of which may be an export.
      {"export module m { function f() {} export function g() {} }", "+m -f +g"},
      // A namespace is none.
      {"export namespace m { function f() {} }", "+f"},
  };
  expect_flags("typescript", typescript);
}

TEST(ExportTest, AlwaysOrNever) {
  expect_flags("sql", {{"CREATE TABLE orders (id int);", "+orders"}});
  expect_flags("markdown", {{"# One\n\n## _two\n", "+One +_two"}});
  expect_flags("xml", {{"<a><b/></a>", "-a -b"}});
  expect_flags("json", {{"{\"a\": {\"b\": 1}}", "-a -b"}});
  expect_flags("yaml", {{"a: &x\n  b: 1\n", "-a -x -b"}});
  expect_flags("toml", {{"[t]\na = 1\n", "-t -a"}});
}

// ---- Strict reading, and where it stops ----

TEST(ExportTest, ReadsTheTextsThatItsRulesNeed) {
  // A body is read because it might be the modifier; a modifier before it decides first.
  EXPECT_THROW(parse_as_file("class A { String s = \"\xFF\"; }", "java"), Utf8Error);
  EXPECT_EQ(flags(parse_as_file("public class A { { f(\"\xFF\"); } }", "java")), "+A");
  EXPECT_THROW(parse_as_file("class A { string s = \"\xFF\"; }", "csharp"), Utf8Error);
  EXPECT_EQ(flags(parse_as_file("public class A { void F() { } /* \xFF */ }", "csharp")), "+A -F");
  EXPECT_THROW(parse_as_file("<?php function f() { g(\"\xFF\"); }", "php"), Utf8Error);
  EXPECT_EQ(flags(parse_as_file("<?php class A { const X = \"\xFF\"; }", "php")), "+A");
  EXPECT_EQ(flags(parse_as_file("fn f() { g(\"\xFF\"); }", "rust")), "-f");
  EXPECT_EQ(flags(parse_as_file("function f() { g(\"\xFF\"); }", "javascript")), "-f");
  EXPECT_EQ(flags(parse_as_file("def f\n  \"\xFF\"\nend\n", "ruby")), "+f");
}

// The text of each level's modifiers holds all deeper levels and the long string. Searching each of
// them took seconds.
TEST(ExportTest, ClassesNestedInAnnotations) {
  constexpr int DEPTH = 1'000;
  std::string source = "class A { ";
  for (int i = 0; i < DEPTH; ++i) source += "@B(new C() { ";
  source += "String s = \"" + std::string(1'000'000, 'p') + "\";";
  for (int i = 0; i < DEPTH; ++i) source += " }) void m() {}";
  const ParseResult hidden = parse(source + " }", "java");
  EXPECT_GT(hidden.symbols.size(), DEPTH);
  for (const models::Symbol& symbol : hidden.symbols) EXPECT_FALSE(symbol.is_export);
  // One word in the innermost modifiers is in all of them.
  source.replace(source.find("String s"), 8, "public s");
  const ParseResult shown = parse(source + " }", "java");
  EXPECT_GT(shown.symbols.size(), DEPTH);
  for (const models::Symbol& symbol : shown.symbols) {
    EXPECT_EQ(symbol.is_export, symbol.name != "A") << symbol.fqn.substr(0, 100);
  }
}

// ---- Ruby's sections ----

TEST(RubySectionTest, Sections) {
  const std::vector<Case> ruby = {
      {"class A\n  def a; end\nend\n", "+A +a"},
      {"class A\n  def a; end\n  private\n  def b; end\n  public\n  def c; end\nend\n",
       "+A +a -b +c"},
      {"module A\n  protected\n  def a; end\nend\n", "+A -a"},
      {"class A\n  private\n  def a; end\n  protected\n  def b; end\nend\n", "+A -a -b"},
      // With arguments it counts as without.
      {"class A\n  def a; end\n  private :a\n  def b; end\nend\n", "+A +a -b"},
      {"class A\n  private :a, :b\n  def c; end\n  public\n  def d; end\nend\n", "+A -c +d"},
      // The word and the method share a row.
      {"class A\n  private; def x; end\nend\n", "+A -x"},
      {"class A\n  def x; end; private\nend\n", "+A -x"},
      {"class A\n  private; def x; end; public\n  def y; end\nend\n", "+A +x +y"},
      // The method's parent is the call's arguments, in which nothing changes. The word still
      // counts for what comes after it.
      {"class A\n  private def x; end\n  def y; end\nend\n", "+A +x -y"},
      {"class A\n  private\n  def self.build; end\nend\n", "+A -build"},
      // Only methods are hidden, and only by the words of their own body.
      {"class A\n  private\n  class B\n    def b; end\n  end\n  def a; end\nend\n", "+A +B +b -a"},
      {"class A\n  private\n  class << self\n    def b; end\n  end\nend\n", "+A +b"},
      {"class A\n  private\nend\nclass B\n  def b; end\nend\n", "+A +B +b"},
      {"class A\n  if x\n    private\n  end\n  def a; end\nend\n", "+A +a"},
      // The file itself is a body.
      {"def a; end\nprivate\ndef b; end\n", "+a -b"},
      // A call is judged by its first plain name, a receiver included.
      {"class A\n  private.x\n  def a; end\nend\n", "+A -a"},
      {"class A\n  x.private\n  def a; end\nend\n", "+A +a"},
      {"class A\n  X.private\n  def a; end\nend\n", "+A -a"},
      {"class A\n  self.private\n  def a; end\nend\n", "+A -a"},
      {"class A\n  private_class_method :x\n  def a; end\nend\n", "+A +a"},
      // Two bodies that start at one place share the words of the one that is asked about
      // first.
      {"(private\ndef a; end)\ndef b; end\n", "-a -b"},
  };
  expect_flags("ruby", ruby);
}

TEST(RubySectionTest, AFileKnowsNothingOfTheOneBefore) {
  EXPECT_EQ(flags(parse("private\ndef a; end\n", "ruby")), "-a");
  EXPECT_EQ(flags(parse("public\ndef a; end\n", "ruby")), "+a");
  EXPECT_EQ(flags(parse_as_file("private\ndef a; end\n", "ruby")), "-a");
  EXPECT_EQ(flags(parse_as_file("public\ndef a; end\n", "ruby")), "+a");
}

TEST(RubySectionTest, ThreadsHaveSectionsOfTheirOwn) {
  constexpr int ROUNDS = 200;
  const auto hammer = [](std::string_view source, std::string_view expected, int& wrong) {
    for (int i = 0; i < ROUNDS; ++i) wrong += flags(parse(source, "ruby")) == expected ? 0 : 1;
  };
  int wrong[2] = {0, 0};
  std::thread one(hammer, "private\ndef a; end\n", "-a", std::ref(wrong[0]));
  std::thread two(hammer, "public\ndef a; end\n", "+a", std::ref(wrong[1]));
  one.join();
  two.join();
  EXPECT_EQ(wrong[0], 0);
  EXPECT_EQ(wrong[1], 0);
}

TEST(RubySectionTest, TenThousandMethodsAfterTenThousandWords) {
  constexpr int COUNT = 10'000;
  std::string source = "class A\n";
  for (int i = 0; i < COUNT; ++i) source += "private\n";
  for (int i = 0; i < COUNT; ++i) source += "def f" + std::to_string(i) + "; end\n";
  source += "end\n";
  const ParseResult result = parse(source, "ruby");
  ASSERT_EQ(result.symbols.size(), COUNT + 1U);
  for (std::size_t i = 1; i < result.symbols.size(); ++i) {
    ASSERT_FALSE(result.symbols[i].is_export) << i;
  }
}

}  // namespace
}  // namespace engines::treesitter
