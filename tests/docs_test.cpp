// Documentation: where each language keeps it, and how it is cleaned and capped.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "tests/support/engine_peer.h"
#include "tests/support/parse.h"
#include "tests/support/parsed_tree.h"

namespace engines::treesitter {
namespace {

using ::testing::Each;
using ::testing::Field;
using ::testing::SizeIs;

constexpr std::string_view NONE = "(none)";

std::string shown(const std::optional<std::string>& text) {
  return text.value_or(std::string(NONE));
}

// The documentation of the symbol that is called "f", whatever else the source declares.
std::string docstring_of_f(const ParseResult& result) {
  for (const models::Symbol& symbol : result.symbols) {
    if (symbol.name == "f") return shown(symbol.docstring);
  }
  return "(no f)";
}

struct Case {
  std::string_view source;
  std::string_view expected;
};

void expect_docstrings(std::string_view language, const std::vector<Case>& cases) {
  for (const Case& c : cases) {
    EXPECT_EQ(docstring_of_f(parse(c.source, language)), c.expected)
        << language << ": " << c.source;
  }
}

std::string repeated(std::string_view text, std::size_t count) {
  std::string all;
  for (std::size_t i = 0; i < count; ++i) all += text;
  return all;
}

// ---- Python ----

TEST(PythonDocstringTest, TheStringThatOpensTheBody) {
  const std::vector<Case> python = {
      {"def f():\n  \"\"\"Load.\"\"\"\n", "Load."},
      {"class f:\n  \"\"\"Load.\"\"\"\n", "Load."},
      {"async def f():\n  'Load.'\n", "Load."},
      {"def f(): \"Load.\"\n", "Load."},
      {"def f(): \"Load.\"; x\n", "Load."},
      {"@a\ndef f():\n  \"Load.\"\n", "Load."},
      // A comment stands before the body, not in it.
      {"def f():\n  # c\n  \"Load.\"\n", "Load."},
      // Line breaks, indentation and escapes stay.
      {"def f():\n  \"\"\"\n  One.\n\n    Two.\\n\n  \"\"\"\n", "One.\n\n    Two.\\n"},
      {"def f():\r\n  \"\"\"One.\r\n  Two.\"\"\"\r\n", "One.\r\n  Two."},
      {"class f:\n  r'''raw'''\n", "raw"},
      {"def f():\n  Rb\"raw\"\n", "raw"},
      {"def f():\n  f\"a{1}\"\n", "a{1}"},
      // Nothing between the quotes.
      {"def f():\n  \"\"\"\"\"\"\n", NONE},
      {"def f():\n  \"\"\" \n \"\"\"\n", NONE},
      {"def f():\n  ''\n", NONE},
      // Another first statement.
      {"def f():\n  x = \"Load.\"\n", NONE},
      {"def f():\n  g(\"Load.\")\n", NONE},
      {"def f():\n  \"Lo\" \"ad.\"\n", NONE},
      {"def f():\n  (\"Load.\")\n", NONE},
      {"def f():\n  pass\n  \"Load.\"\n", NONE},
      {"def f():\n", NONE},
      // Comments document nothing.
      {"# Load.\ndef f():\n  pass\n", NONE},
  };
  expect_docstrings("python", python);
}

TEST(PythonDocstringTest, NodesWithoutABody) {
  const ParsedTree tree("x = 'Load.'\nif y:\n  'Load.'\n", "python");
  const Node assignment = tree.nodes(NodeType::assignment).at(0);
  EXPECT_EQ(EnginePeer::_extract_python_docstring(assignment, tree.source()), std::nullopt);
  EXPECT_EQ(EnginePeer::_extract_python_docstring(tree.root(), tree.source()), std::nullopt);
  // A block that is under no field is a body all the same: `finally` keeps its own so.
  const ParsedTree orphan("try:\n  x\nfinally:\n  'Load.'\n", "python");
  const Node block = orphan.nodes(NodeType::block).at(1);
  EXPECT_EQ(EnginePeer::_extract_python_docstring(block.parent().value(), orphan.source()),
            "Load.");
}

TEST(PythonDocstringTest, Cleaning) {
  const std::vector<Case> cases = {
      {"\"a\"", "a"},
      {"'a'", "a"},
      {"\"\"\"a\"\"\"", "a"},
      {"'''a'''", "a"},
      // The first prefix of the list that a quote follows is removed, and no second one.
      {"r\"a\"", "a"},
      {"R'a'", "a"},
      {"u\"\"\"a\"\"\"", "a"},
      {"bR'''a'''", "a"},
      {"Fr'a'", "a"},
      {"bu\"a\"", "bu\"a\""},
      {"rbr\"a\"", "rbr\"a\""},
      {"r", "r"},
      {"x\"a\"", "x\"a\""},
      // One pair of quotes goes, the longest that both ends have.
      {"\"'a'\"", "'a'"},
      {"\"\"\"\"a\"\"\"", "\"a"},
      {"\"\"\"a\"", "\"\"a"},
      {"\"a'", "\"a'"},
      {"\"a", "\"a"},
      // Texts too short for both delimiters.
      {"\"", NONE},
      {"'", NONE},
      {"\"\"", NONE},
      {"'''", NONE},
      {"''''", NONE},
      {"'''''", NONE},
      {"r'", NONE},
      {"", NONE},
      // Whitespace of every kind is trimmed, and only at the ends.
      {"\" \t\x1C\xC2\x85 a  b \xE3\x80\x80\r\n\"", "a  b"},
      {"\"\xE2\x80\x8B a\"", "\xE2\x80\x8B a"},  // a zero-width space is no whitespace
      {" \"a\" ", "\"a\""},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(shown(EnginePeer::_clean_python_docstring(c.source).first), c.expected) << c.source;
  }
}

TEST(PythonDocstringTest, BytesThatAreNoUtf8) {
  EXPECT_EQ(docstring_of_f(parse_as_file("def f():\n  \"a\xFF\xE2\x82z\xF0\x9F\x98\"\n", "python")),
            "a\uFFFD\uFFFDz\uFFFD");
}

// ---- The cap ----

TEST(TruncationTest, CountsCodePoints) {
  for (const std::string_view character : {"a", "\u00E9", "\u20AC", "\U0001F600"}) {
    const std::string whole = repeated(character, 500);
    EXPECT_EQ(_truncate_docstring(whole), std::pair(whole, false));
    EXPECT_EQ(_truncate_docstring(whole + 'z'), std::pair(repeated(character, 497) + "...", true));
  }
  EXPECT_EQ(_truncate_docstring(""), std::pair(std::string(), false));
  // The cut falls where it falls.
  EXPECT_EQ(_truncate_docstring(repeated("a ", 300)).first, repeated("a ", 248) + "a...");
  EXPECT_EQ(_truncate_docstring(repeated(" a", 300)).first, repeated(" a", 248) + " ...");
}

TEST(TruncationTest, EveryConventionEndsWithIt) {
  const std::string text = repeated("\u00E9", 501);
  const std::string cut = repeated("\u00E9", 497) + "...";
  const std::vector<std::pair<std::string_view, std::string>> sources = {
      {"python", "def f():\n  '" + text + "'\n"},
      {"javascript", "/** " + text + " */\nfunction f() {}\n"},
      {"go", "package p\n// " + text + "\nfunc f() {}\n"},
      {"rust", "/// " + text + "\nfn f() {}\n"},
      {"csharp", "/// " + text + "\nclass f {}\n"},
      {"ruby", "# " + text + "\ndef f; end\n"},
  };
  for (const auto& [language, source] : sources) {
    EXPECT_EQ(docstring_of_f(parse(source, language)), cut) << language;
  }
  EXPECT_TRUE(EnginePeer::_clean_python_docstring('"' + text + '"').second);
  EXPECT_FALSE(EnginePeer::_clean_python_docstring("\"a\"").second);
  EXPECT_TRUE(EnginePeer::_clean_block_comment("/*" + text + "*/").second);
  EXPECT_FALSE(EnginePeer::_clean_block_comment("/*a*/").second);
}

// ---- Block comments ----

TEST(BlockCommentTest, Cleaning) {
  const std::vector<Case> cases = {
      {"/** One. */", "One."},
      {"/**One.*/", "One."},
      {"/* One. */", "One."},
      {"/**\n * One.\n * Two.\n */", "One. Two."},
      {"/**\r\n\t* One.\r\n\t* Two.\r\n\t*/", "One. Two."},
      {"/**\n   One.\n   Two. */", "One. Two."},
      // An empty line, or one with its asterisk alone, leaves two spaces.
      {"/**\n * One.\n *\n * Two.\n */", "One.  Two."},
      {"/**\n * One.\n\n * Two.\n */", "One.  Two."},
      {"/** One.\n *\n *\n * Two. */", "One.   Two."},
      // One asterisk is the margin.
      {"/**\n ** One.\n * * Two.\n */", "* One. * Two."},
      {"/*** One. ***/", "One. **"},
      {"/** *One* */", "One*"},
      // Tags and markup stay.
      {"/**\n * One {@link x}.\n * @param a  b\n */", "One {@link x}. @param a  b"},
      // Without the one or the other delimiter.
      {"One. */", "One."},
      {"/** One.", "One."},
      {"// One.", "// One."},
      {"One.", "One."},
      // "/**" is one opening: nothing is left to close.
      {"/**/", "/"},
      {"/***/", NONE},
      {"/** */", NONE},
      {"/**\n *\n */", NONE},
      {"/* */", NONE},
      {"", NONE},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(shown(EnginePeer::_clean_block_comment(c.source).first), c.expected) << c.source;
  }
}

TEST(BlockCommentTest, TheNearestDocCommentAbove) {
  const std::vector<Case> javascript = {
      {"/** One. */\nfunction f() {}\n", "One."},
      {"/** One. */ function f() {}\n", "One."},
      {"/**\n * One.\n *\n * Two.\n */\n\n\nfunction f() {}\n", "One.  Two."},
      {"class A {\n  /** One. */\n  f() {}\n}\n", "One."},
      // Other comments and what did not parse are passed.
      {"/** One. */\n// two\nfunction f() {}\n", "One."},
      {"/** One. */\n/* two */\nfunction f() {}\n", "One."},
      {"/** One. */\n)\nfunction f() {}\n", "One."},
      {"/** One. */\n)\n// two\n)\nfunction f() {}\n", "One."},
      {"/** One. */\n/** Two. */\nfunction f() {}\n", "Two."},
      // An empty one hides those above it.
      {"/** One. */\n/** */\nfunction f() {}\n", NONE},
      {"/* One. */\nfunction f() {}\n", NONE},
      {"// One.\nfunction f() {}\n", NONE},
      {"function f() {}\n", NONE},
      // Anything else ends the search, and only siblings are seen.
      {"/** One. */\nx;\nfunction f() {}\n", NONE},
      {"/** One. */\nexport function f() {}\n", NONE},
      {"/** One. */\nclass A { f() {} }\n", NONE},
      {"/** One. */\nclass A {}\nfunction f() {}\n", NONE},
      {"function f() { /** One. */ }\n", NONE},
  };
  expect_docstrings("javascript", javascript);
  const std::vector<Case> typescript = {
      {"/** One. */\ninterface f {}\n", "One."},
      {"abstract class A {\n  /** One. */\n  f(): void {}\n}\n", "One."},
  };
  expect_docstrings("typescript", typescript);
  expect_docstrings("tsx", {{"/** One. */\nfunction f() { return <a/>; }\n", "One."}});
  const std::vector<Case> java = {
      {"/** One. */\nclass f {}\n", "One."},
      {"/** One. */\n@A\npublic class f {}\n", "One."},
      {"class A {\n  /**\n   * One.\n   */\n  // two\n  void f() {}\n}\n", "One."},
      {"class A {\n  /* One. */\n  void f() {}\n}\n", NONE},
  };
  expect_docstrings("java", java);
  const std::vector<Case> php = {
      {"<?php\n/** One. */\nfunction f() {}\n", "One."},
      {"<?php\n/** One. */\n#[A]\nclass f {}\n", "One."},
      {"<?php\nclass A {\n  /** One. */\n  # two\n  public function f() {}\n}\n", "One."},
  };
  expect_docstrings("php", php);
}

TEST(BlockCommentTest, BytesThatAreNoUtf8) {
  EXPECT_EQ(docstring_of_f(parse_as_file("/** \xC0\xAF. */\nfunction f() {}\n", "javascript")),
            "\uFFFD\uFFFD.");
}

// ---- Runs of comments ----

TEST(CommentRunTest, Go) {
  const std::vector<Case> go = {
      {"package p\n// one\n//two\n//  three\nfunc f() {}\n", "one two three"},
      {"package p\n// one\n//\n// two\nfunc f() {}\n", "one  two"},
      {"package p\n//\n// one\n//\nfunc f() {}\n", "one"},
      {"package p\n// one\n\n\n// two\n\nfunc f() {}\n", "one two"},
      {"package p\n/* one\n * two */\n// three\nfunc f() {}\n", "one two three"},
      {"package p\n// one\n/* */\n// two\nfunc f() {}\n", "one two"},
      {"package p\n// one\n)\nfunc f() {}\n", "one"},
      {"package p\n// one\n\nfunc (r R) f() {}\n", "one"},
      {"package p\n// one\nvar x int\n// two\nfunc f() {}\n", "two"},
      {"package p\n// one\nvar x int\nfunc f() {}\n", NONE},
      // Whatever stands on the line before: a comment is a comment.
      {"package p\nvar x int // one\nfunc f() {}\n", "one"},
      {"package p\n//\n//\nfunc f() {}\n", NONE},
      {"package p\nfunc f() {}\n", NONE},
  };
  expect_docstrings("go", go);
}

TEST(CommentRunTest, Rust) {
  const std::vector<Case> rust = {
      {"/// one\n/// two\nfn f() {}\n", "one two"},
      {"//! one\n/// two\nfn f() {}\n", "one two"},
      {"/// one\n// two\n/// three\nfn f() {}\n", "one three"},
      {"/// one\n///\n/// two\nfn f() {}\n", "one  two"},
      {"//// one\nfn f() {}\n", "/ one"},
      {"/* one */\nfn f() {}\n", "one"},
      {"/** one */\n/*! two */\nfn f() {}\n", "one ! two"},
      {"/// one\n)\nfn f() {}\n", "one"},
      {"/// one\nmod f {}\n", "one"},
      {"impl A {\n  /// one\n  pub fn f() {}\n}\n", "one"},
      // Another sibling ends the run: an attribute is one.
      {"/// one\n#[inline]\nfn f() {}\n", NONE},
      {"/// one\n#[inline]\n/// two\nfn f() {}\n", "two"},
      {"// one\nfn f() {}\n", NONE},
      {"fn f() {}\n", NONE},
  };
  expect_docstrings("rust", rust);
}

TEST(CommentRunTest, CSharp) {
  const std::vector<Case> csharp = {
      {"/// <summary>\n/// One.\n/// </summary>\nclass f {}\n", "One."},
      {"/// <summary>One.</summary>\nclass f {}\n", "One."},
      {"/// One <see cref=\"X\"/> two <b>three</b>.\nclass f {}\n", "One  two three."},
      {"/// <returns>One.</returns>\n/// <remarks>Two.</remarks>\nclass f {}\n", "One. Two."},
      // The opening of a parameter loses its beginning alone.
      {"class A {\n  /// <param name=\"x\">One.</param>\n  void f() {}\n}\n", "name=\"x\">One."},
      // A later bracket takes what lies between along.
      {"/// <param name=\"x\">a <c>b</c>\nclass f {}\n", "name=\"x\">a b"},
      {"/// a < b\nclass f {}\n", "a < b"},
      {"/// a > b\nclass f {}\n", "a > b"},
      {"/// a > b < c\nclass f {}\n", "a > b < c"},
      {"/// a < b and c > d\nclass f {}\n", "a  d"},
      {"/// <<a>> b\nclass f {}\n", "> b"},
      // Tags are removed in their order, each once over: what closes up behind its turn stays.
      {"/// <</summary>param x\nclass f {}\n", "x"},
      {"/// <par</param>am x\nclass f {}\n", "<param x"},
      {"/// <par<param am x\nclass f {}\n", "<param x"},
      // Lines that say nothing leave no gap.
      {"/// One.\n///\n/// <br/>\n/// Two.\nclass f {}\n", "One. Two."},
      {"/// One.\n// two\n/* three */\n/// Four.\nclass f {}\n", "One. Four."},
      {"/// One.\n)\nclass f {}\n", "One."},
      {"//// One.\nclass f {}\n", "/ One."},
      {"// One.\nclass f {}\n", NONE},
      {"/** One. */\nclass f {}\n", NONE},
      {"/// <summary/>\nclass f {}\n", NONE},
      {"/// One.\nclass A {}\nclass f {}\n", NONE},
      // An attribute belongs to the declaration.
      {"/// One.\n[A]\nclass f {}\n", "One."},
  };
  expect_docstrings("csharp", csharp);
}

TEST(CommentRunTest, Ruby) {
  const std::vector<Case> ruby = {
      {"# one\n#two\ndef f; end\n", "one two"},
      {"# one\n#\n# two\ndef f; end\n", "one  two"},
      {"## one\ndef f; end\n", "# one"},
      // Blank rows below the nearest comment do not matter, one between two comments does.
      {"# one\n\n\n\ndef f; end\n", "one"},
      {"# one\n\n# two\ndef f; end\n", "two"},
      {"# one\n\n# two\n# three\n\ndef f; end\n", "two three"},
      // A line that is left out is no neighbour: one row lies between its neighbours.
      {"# one\n# -*- x -*-\n# two\ndef f; end\n", "two"},
      {"#!/usr/bin/ruby\n# one\ndef f; end\n", "one"},
      {"# one\n# ! two\ndef f; end\n", "one"},
      {"# -*- coding: utf-8 -*-\ndef f; end\n", NONE},
      // Neither is a comment of the other form, but its last row counts.
      {"=begin\none\n=end\ndef f; end\n", NONE},
      {"# one\n=begin\n=end\ndef f; end\n", "one"},
      {"# one\n=begin\n=end\n# two\ndef f; end\n", "two"},
      {"# one\n)\ndef f; end\n", "one"},
      {"# one\n)\n# two\ndef f; end\n", "two"},
      {"x # one\ndef f; end\n", "one"},
      {"# one\nx\ndef f; end\n", NONE},
      {"# one\nmodule M; end\ndef f; end\n", NONE},
      {"class A\n  x\n  # one\n  def f; end\nend\n", "one"},
      // Before the first statement of a body a comment belongs to the class.
      {"class A\n  # one\n  def f; end\nend\n", NONE},
  };
  expect_docstrings("ruby", ruby);
}

TEST(CommentRunTest, BytesThatAreNoUtf8) {
  EXPECT_EQ(docstring_of_f(parse_as_file("# \xE2\x82 a\ndef f; end\n", "ruby")), "\uFFFD a");
}

// ---- Languages without a convention ----

TEST(DocstringTest, OtherLanguagesHaveNone) {
  const std::vector<std::pair<std::string_view, std::string_view>> sources = {
      {"sql", "/** One. */\nCREATE FUNCTION f() RETURNS int LANGUAGE sql AS $$ SELECT 1 $$;\n"},
      {"markdown", "<!-- One. -->\n\n# f\n"},
      {"xml", "<a><!-- One. --><f/></a>"},
      {"json", "{\"f\": {\"g\": 1}}"},
      {"yaml", "# One.\nf: 1\n"},
      {"toml", "# One.\n[f]\nx = 1\n"},
  };
  for (const auto& [language, source] : sources) {
    const ParseResult result = parse(source, language);
    EXPECT_FALSE(result.symbols.empty()) << language;
    EXPECT_THAT(result.symbols, Each(Field(&models::Symbol::docstring, std::nullopt))) << language;
  }
}

// ---- Long runs ----

TEST(DocstringTest, AHundredThousandCommentsAboveOneFunction) {
  constexpr std::size_t COUNT = 100'000;
  const std::vector<std::pair<std::string_view, std::string>> sources = {
      {"go", "package p\n" + repeated("// a\n", COUNT) + "func f() {}\n"},
      {"rust", repeated("/// a\n", COUNT) + "fn f() {}\n"},
      {"csharp", repeated("/// a\n", COUNT) + "class f {}\n"},
      {"ruby", repeated("# a\n", COUNT) + "def f; end\n"},
  };
  const std::string expected = repeated("a ", 248) + "a...";
  for (const auto& [language, source] : sources) {
    EXPECT_EQ(docstring_of_f(parse(source, language)), expected) << language;
  }
  const std::string passed = "/** a */\n" + repeated("// b\n", COUNT) + "function f() {}\n";
  EXPECT_EQ(docstring_of_f(parse(passed, "javascript")), "a");
  const std::string lines = "/**\n" + repeated("* a\n", COUNT) + "*/\nfunction f() {}\n";
  EXPECT_EQ(docstring_of_f(parse(lines, "javascript")), expected);
}

TEST(DocstringTest, ALineOfAHundredThousandTags) {
  const std::string source = "/// " + repeated("<a>", 100'000) + "x\nclass f {}\n";
  EXPECT_EQ(docstring_of_f(parse(source, "csharp")), "x");
}

}  // namespace
}  // namespace engines::treesitter
