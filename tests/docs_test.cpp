// Documentation: where it stands in each language, and how it is cleaned and cut.
#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "tests/support/engine_peer.h"
#include "tests/support/inputs.h"
#include "tests/support/parse.h"
#include "tests/support/parsed_tree.h"

namespace engines::treesitter {
namespace {

constexpr std::string_view NONE = "(none)";

std::string shown(const std::optional<std::string>& text) {
  return text.value_or(std::string(NONE));
}

// The documentation of the symbol named "f".
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

// ---- Python ----

TEST(PythonDocstringTest, TheStringThatOpensTheBody) {
  expect_docstrings("python", {{"def f():\n", NONE},
                               // Comments document nothing.
                               {"# Load.\ndef f():\n  pass\n", NONE},
                               {"def f():\n  pass\n  \"Load.\"\n", NONE},
                               {"class f:\n  r'''raw'''\n", "raw"}});
}

TEST(PythonDocstringTest, NodesWithoutABody) {
  const ParsedTree tree("x = 'Load.'\nif y:\n  'Load.'\n", "python");
  const Node assignment = tree.nodes(NodeType::assignment).at(0);
  EXPECT_EQ(EnginePeer::_extract_python_docstring(assignment, tree.source()), std::nullopt);
  EXPECT_EQ(EnginePeer::_extract_python_docstring(tree.root(), tree.source()), std::nullopt);
  // A block that is in no field is a body too, such as that of `finally`.
  const ParsedTree orphan("try:\n  x\nfinally:\n  'Load.'\n", "python");
  const Node block = orphan.nodes(NodeType::block).at(1);
  EXPECT_EQ(EnginePeer::_extract_python_docstring(block.parent().value(), orphan.source()),
            "Load.");
}

TEST(PythonDocstringTest, Cleaning) {
  const std::vector<Case> cases = {
      // The first prefix of the list that a quote follows is removed, and no second one.
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
      // Whitespace of every kind is trimmed, and only at the ends.
      {"\" \t\x1C\xC2\x85 a  b \xE3\x80\x80\r\n\"", "a  b"},
      {"\"\xE2\x80\x8B a\"", "\xE2\x80\x8B a"},  // a zero-width space is no whitespace
      {" \"a\" ", "\"a\""},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(shown(EnginePeer::_clean_python_docstring(c.source).first), c.expected) << c.source;
  }
  // Texts that are too short for two delimiters.
  for (const char* text : {"", "\"", "'", "\"\"", "'''", "''''", "'''''", "r'"}) {
    EXPECT_EQ(EnginePeer::_clean_python_docstring(text).first, std::nullopt) << text;
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
  // Whitespace before the cut stays.
  EXPECT_EQ(_truncate_docstring(repeated("a ", 300)).first, repeated("a ", 248) + "a...");
  EXPECT_EQ(_truncate_docstring(repeated(" a", 300)).first, repeated(" a", 248) + " ...");
}

TEST(TruncationTest, HoldsForEveryFormOfDocumentation) {
  const std::string text = repeated("\u00E9", 501);
  const std::string cut = repeated("\u00E9", 497) + "...";
  const std::vector<std::pair<std::string_view, std::string>> sources = {
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
      {"/**One.*/", "One."},
      {"/* One. */", "One."},
      {"/**\r\n\t* One.\r\n\t* Two.\r\n\t*/", "One. Two."},
      {"/**\n   One.\n   Two. */", "One. Two."},
      // An empty line leaves two spaces, as one with its asterisk alone does.
      {"/**\n * One.\n\n * Two.\n */", "One.  Two."},
      {"/** One.\n *\n *\n * Two. */", "One.   Two."},
      // One asterisk is the margin.
      {"/**\n ** One.\n * * Two.\n */", "* One. * Two."},
      {"/*** One. ***/", "One. **"},
      {"/** *One* */", "One*"},
      // One delimiter is missing, or both.
      {"One. */", "One."},
      {"/** One.", "One."},
      {"// One.", "// One."},
      {"One.", "One."},
      // "/**" is one opening: nothing is left to close.
      {"/**/", "/"},
      {"/** */", NONE},
      {"/* */", NONE},
      {"", NONE},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(shown(EnginePeer::_clean_block_comment(c.source).first), c.expected) << c.source;
  }
}

TEST(BlockCommentTest, TheNearestDocCommentAbove) {
  expect_docstrings("javascript", {{"/** One. */\n)\n// two\n)\nfunction f() {}\n", "One."},
                                   // An empty one hides those above it.
                                   {"/** One. */\n/** */\nfunction f() {}\n", NONE},
                                   // Only siblings are seen.
                                   {"/** One. */\nclass A { f() {} }\n", NONE},
                                   {"function f() { /** One. */ }\n", NONE}});
  expect_docstrings("tsx", {{"/** One. */\nfunction f() { return <a/>; }\n", "One."}});
  expect_docstrings("java",
                    {{"class A {\n  /**\n   * One.\n   */\n  // two\n  void f() {}\n}\n", "One."}});
}

TEST(BlockCommentTest, BytesThatAreNoUtf8) {
  EXPECT_EQ(docstring_of_f(parse_as_file("/** \xC0\xAF. */\nfunction f() {}\n", "javascript")),
            "\uFFFD\uFFFD.");
}

// ---- Runs of comments ----

TEST(CommentRunTest, Go) {
  expect_docstrings("go", {{"package p\n//\n// one\n//\nfunc f() {}\n", "one"},
                           {"package p\n// one\n/* */\n// two\nfunc f() {}\n", "one two"},
                           {"package p\n// one\n)\nfunc f() {}\n", "one"},
                           {"package p\n// one\nvar x int\nfunc f() {}\n", NONE}});
}

TEST(CommentRunTest, Rust) {
  expect_docstrings("rust", {{"/** one */\n/*! two */\nfn f() {}\n", "one ! two"},
                             {"/// one\n)\nfn f() {}\n", "one"},
                             {"impl A {\n  /// one\n  pub fn f() {}\n}\n", "one"}});
}

TEST(CommentRunTest, CSharp) {
  const std::vector<Case> csharp = {
      // The opening of a parameter loses its beginning alone.
      {"/// <param name=\"x\">a <c>b</c>\nclass f {}\n", "name=\"x\">a b"},
      {"/// a < b\nclass f {}\n", "a < b"},
      {"/// a > b\nclass f {}\n", "a > b"},
      {"/// <<a>> b\nclass f {}\n", "> b"},
      // The tags are removed one kind after the other. A tag that only the removal of a later kind
      // forms stays.
      {"/// <</summary>param x\nclass f {}\n", "x"},
      {"/// <par</param>am x\nclass f {}\n", "<param x"},
      {"/// <par<param am x\nclass f {}\n", "<param x"},
      // Lines that are empty without their tags leave no gap.
      {"/// One.\n///\n/// <br/>\n/// Two.\nclass f {}\n", "One. Two."},
      {"/// One.\n// two\n/* three */\n/// Four.\nclass f {}\n", "One. Four."},
      {"/// One.\n)\nclass f {}\n", "One."},
      {"//// One.\nclass f {}\n", "/ One."},
      {"/** One. */\nclass f {}\n", NONE},
      {"/// <summary/>\nclass f {}\n", NONE},
  };
  expect_docstrings("csharp", csharp);
}

TEST(CommentRunTest, Ruby) {
  const std::vector<Case> ruby = {
      {"# one\n# ! two\ndef f; end\n", "one"},
      {"# -*- coding: utf-8 -*-\ndef f; end\n", NONE},
      // A block comment is left out of the text, but does not end the run of comments.
      {"# one\n=begin\n=end\ndef f; end\n", "one"},
      {"# one\n=begin\n=end\n# two\ndef f; end\n", "two"},
      {"# one\n)\ndef f; end\n", "one"},
      {"# one\n)\n# two\ndef f; end\n", "two"},
      {"# one\nx\ndef f; end\n", NONE},
  };
  expect_docstrings("ruby", ruby);
}

TEST(CommentRunTest, BytesThatAreNoUtf8) {
  EXPECT_EQ(docstring_of_f(parse_as_file("# \xE2\x82 a\ndef f; end\n", "ruby")), "\uFFFD a");
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
