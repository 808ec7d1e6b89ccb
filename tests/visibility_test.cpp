// Export flags: the rule of each language, and Ruby's sections.
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

// Special cases of the rules; the golden cases show the plain ones.
TEST(ExportTest, Corners) {
  // The word may stand anywhere among the modifiers and annotations.
  expect_flags("java",
               {{"class A { @Republican void f() {} @Doc(\"Public\") void g() {} }", "-A +f -g"}});
  // Any attribute whose text contains a marker.
  expect_flags(
      "csharp",
      {{"[Serializable] internal class FooController { }", "-FooController"},
       {"class A { [Route(\"x\")] void F() { } [Name(\"Controller\")] void G() { } }", "-A +F +G"},
       {"class A { [A, B] [HttpPost] void F() { } [HttpPut] void G() { } }", "-A +F -G"},
       {"class Controller { }", "-Controller"}});
  // A child whose text is a hiding word hides, even the name.
  expect_flags("php", {{"<?php class A { public function private() {} }", "+A -private"},
                       {"<?php class A { public function protector() {} }", "+A +protector"}});
  // The first letter, not the first byte. Some letters have no case, or title case.
  expect_flags("go", {{"package p\nfunc Été() {}\nfunc été() {}\nfunc 世() {}\nfunc ǅ() {}\n",
                       "+Été -été -世 -ǅ"}});
  expect_flags("rust", {{"crate fn f() {}", "-f"}});
  // An export outside of the module around a symbol does not count.
  expect_flags("typescript",
               {{"export module m { function f() {} export function g() {} }", "+m -f +g"}});
}

// The symbol walk finds no name of a property, so this asks the rule itself.
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

// ---- Which texts are read strictly ----

TEST(ExportTest, ReadsTheTextsThatItsRulesNeed) {
  // Children are read until one decides, here the modifier, so that the body is not read.
  EXPECT_EQ(flags(parse_as_file("public class A { void F() { } /* \xFF */ }", "csharp")), "+A -F");
  EXPECT_EQ(flags(parse_as_file("<?php class A { const X = \"\xFF\"; }", "php")), "+A");
  EXPECT_EQ(flags(parse_as_file("fn f() { g(\"\xFF\"); }", "rust")), "-f");
  EXPECT_EQ(flags(parse_as_file("function f() { g(\"\xFF\"); }", "javascript")), "-f");
  EXPECT_EQ(flags(parse_as_file("def f\n  \"\xFF\"\nend\n", "ruby")), "+f");
}

// The text of the modifiers of each level holds all deeper levels and the long string. A search
// through each of these texts would take seconds.
TEST(ExportTest, ClassesNestedInAnnotations) {
  constexpr int DEPTH = 1'000;
  std::string source = "class A { ";
  for (int i = 0; i < DEPTH; ++i) source += "@B(new C() { ";
  source += "String s = \"" + std::string(1'000'000, 'p') + "\";";
  for (int i = 0; i < DEPTH; ++i) source += " }) void m() {}";
  const ParseResult hidden = parse(source + " }", "java");
  EXPECT_GT(hidden.symbols.size(), DEPTH);
  for (const models::Symbol& symbol : hidden.symbols) EXPECT_FALSE(symbol.is_export);
  // A word in the innermost modifiers is in the text of all modifiers.
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
      // Words and a method on one row.
      {"class A\n  private; def x; end; public\n  def y; end\nend\n", "+A +x +y"},
      // Only methods are hidden, and only by the words of their own body.
      {"class A\n  private\n  class B\n    def b; end\n  end\n  def a; end\nend\n", "+A +B +b -a"},
      {"class A\n  private\n  class << self\n    def b; end\n  end\nend\n", "+A +b"},
      // A call is judged by its first plain name, a receiver included.
      {"class A\n  x.private\n  def a; end\nend\n", "+A +a"},
      {"class A\n  X.private\n  def a; end\nend\n", "+A -a"},
      // Two bodies that start at one place share the sections of the one that is met first.
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
