// Signatures and body digests: cases for the rules, and for each node of each source the same
// answer as a plain form of the rules, which reads the whole file for each node.
#include <gtest/gtest.h>

#include <optional>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "engines/treesitter/text/regex.h"
#include "engines/treesitter/text/text.h"
#include "tests/support/engine_peer.h"
#include "tests/support/inputs.h"
#include "tests/support/parse.h"
#include "tests/support/parsed_tree.h"
#include "tests/support/sanitizers.h"

namespace engines::treesitter {
namespace {

// ---- Compared with a plain form of the rules ----

std::optional<std::string> plain_signature(const Node& node, std::string_view bytes) {
  const std::string text = decode_replacing(bytes);
  const auto lines = split(text, '\n');
  if (node.start_row() >= lines.size()) return std::nullopt;
  const std::string_view line = trim(lines[node.start_row()]);
  if (length(line) <= 200) return std::string(line);
  return std::string(first(line, 197)) + "...";
}

std::optional<std::string> plain_digest(const Node& node) {
  const std::string body = decode_replacing(node.bytes());
  const auto lines = split(body, '\n');
  std::string joined;
  std::size_t used = 0;
  for (auto line = lines.begin() + 1; line != lines.end() && used < 800; ++line) {
    const std::string_view stripped = trim(*line);
    bool is_skipped = stripped.empty();
    for (const std::string_view prefix : {"#", "//", "*", "\"\"\"", "'''"}) {
      is_skipped = is_skipped || stripped.starts_with(prefix);
    }
    if (is_skipped || !_BODY_DIGEST_RE.find_end(stripped)) continue;
    joined.append(joined.empty() ? "" : "\n").append(stripped);
    used += length(stripped) + 1;
  }
  const std::string_view kept = trim_end(first(joined, 800));
  return kept.empty() ? std::nullopt : std::optional<std::string>(kept);
}

void compare_all_nodes(const std::string& bytes, std::string_view language) {
  try {
    const ParsedTree tree(bytes, language);
    const SyntaxTree& nodes = tree.root().tree();
    for (std::uint32_t i = 0; i < nodes.size(); ++i) {
      const Node node(nodes, i);
      ASSERT_EQ(EnginePeer::_get_signature(node, tree.source(), language),
                plain_signature(node, bytes))
          << language << ": " << bytes;
      ASSERT_EQ(EnginePeer::_extract_body_digest(node, tree.source()), plain_digest(node))
          << language << ": " << bytes;
    }
  } catch (const ParseError& error) {
    FAIL() << error.what();
  }
}

TEST(SignatureTest, EveryNodeOfEverySource) {
  std::mt19937 random(5);
  for (const Input& input : inputs()) {
    std::string bytes = input.bytes;
    for (int i = 0; i < 3; ++i) {
      ASSERT_NO_FATAL_FAILURE(compare_all_nodes(bytes, input.language)) << input.name;
      bytes = broken(bytes, random);
    }
  }
}

// Error recovery makes nodes of these that end within a word, after a keyword, before a comment or
// between the bytes of a character.
TEST(SignatureTest, EveryNodeOfRandomLines) {
  constexpr std::string_view PIECES[] = {
      "if",    "1",      "\n", "\n", " ",        "(",      ",", "[", "\"", "x", "//", "#",
      "\"a\"", "return", "go", "é",  "\xE2\x80", "\u2028", "]", "{", "}",  "*", "=",  ":"};
  constexpr int RANDOM_SOURCES = IS_SANITIZED ? 300 : 3000;
  std::mt19937 random(9);
  for (int i = 0; i < RANDOM_SOURCES; ++i) {
    std::string bytes;
    for (int count = 0; count < 14; ++count) bytes += PIECES[random() % std::size(PIECES)];
    for (const std::string_view language : {"json", "javascript", "python"}) {
      ASSERT_NO_FATAL_FAILURE(compare_all_nodes(bytes, language)) << testing::PrintToString(bytes);
    }
  }
}

// The walk makes one signature for each row.
TEST(SignatureTest, EverySymbolHasThatOfItsRow) {
  for (const Input& input : inputs()) {
    const std::string text = decode_replacing(input.bytes);
    const auto lines = split(text, '\n');
    ParseResult result;
    try {
      result = parse_as_file(input.bytes, input.language);
    } catch (const Utf8Error&) {
      continue;
    }
    for (const models::Symbol& symbol : result.symbols) {
      const std::string_view line = trim(lines.at(symbol.start_line - 1));
      ASSERT_TRUE(symbol.signature && line.starts_with(first(*symbol.signature, 197)))
          << input.name << ' ' << symbol.fqn;
    }
  }
}

// ---- Rows ----

constexpr std::string_view NONE = "(none)";

// The digest of the first symbol.
std::string digest(std::string_view source, std::string_view language) {
  const ParseResult result = parse(source, language);
  if (result.symbols.empty()) return "(no symbol)";
  return result.symbols[0].body_digest.value_or(std::string(NONE));
}

struct Case {
  std::string_view language;
  std::string_view source;
  std::string_view expected;
};

TEST(BodyDigestTest, KeepsTheLinesThatCarryLogic) {
  const std::vector<Case> cases = {
      {"python", "def f():\n  # call(x)\n  x = 1  # call(x)\n", "x = 1  # call(x)"},
      {"javascript", "function f() {\r\n  return 1;\r\n}\r\n", "return 1;"},
      {"javascript", "function f() {\n\u3000return\u2003\n}", "return"},
      // The keywords of all languages count in each.
      {"python", "def f():\n  x = match\n  y = doing\n  z = Return\n", "x = match"},
      {"javascript", "function f() {\n  return 1 } function g() { return 2 }\n", "return 1 }"},
      {"ruby", "def f\n  return 1 if x\n  y = z\nend\n", "return 1 if x"},
      {"sql", "CREATE FUNCTION f() RETURNS int AS $$\n  SELECT g(1);\n$$ LANGUAGE sql;",
       "SELECT g(1);"},
      // A heading has no body.
      {"markdown", "# If f()\n\nf()\n", NONE},
  };
  for (const Case& c : cases) EXPECT_EQ(digest(c.source, c.language), c.expected) << c.source;
}

// A line of `length` code points with a call, the rest of it umlauts.
std::string line_of(std::size_t length) { return "f()" + repeated("ü", length - 3); }

std::string digest_of_lines(std::size_t count, std::size_t length) {
  return digest("function f() {\n" + repeated(line_of(length) + "\n", count) + "}", "javascript");
}

TEST(BodyDigestTest, EndsAtEightHundredCodePoints) {
  struct CapCase {
    std::size_t lines;
    std::size_t length;
    std::size_t expected;
  };
  for (const CapCase& c : std::vector<CapCase>{
           {1, 799, 799},
           {1, 800, 800},
           {1, 801, 800},
           {1, 5000, 800},
           // Of the twentieth line the last 19 are lost.
           {30, 40, 800},
           {19, 40, 778},
           // 799 and the line feed are 800, so that no further line is read.
           {2, 399, 799},
           {3, 399, 799},
           {2, 400, 800},
           {3, 265, 797},
           {4, 199, 799},
           {5, 199, 799},
       }) {
    const std::string text = digest_of_lines(c.lines, c.length);
    EXPECT_EQ(length(text), c.expected) << c.lines << " of " << c.length;
    EXPECT_EQ(text, first(repeated(line_of(c.length) + "\n", 40), c.expected));
  }
  // The cut is after the line feed, which is then trimmed.
  const std::string source = "function f() {\n" + line_of(798) + "\n" + line_of(10) + "\n}";
  EXPECT_EQ(length(digest(source, "javascript")), 800u);
  EXPECT_EQ(digest("function f() {\n" + line_of(799) + "\n" + line_of(10) + "\n}", "javascript"),
            line_of(799));
}

// ---- Costs ----
//
// Each of these would take minutes if a rule read the line or the body again for each symbol.

TEST(SignatureTest, TenMegabytesOnOneLine) {
  constexpr std::size_t COUNT = IS_SANITIZED ? 20'000 : 200'000;
  std::string source;
  source.reserve(COUNT * 52);
  for (std::size_t i = 0; i < COUNT; ++i) {
    const std::string number = std::to_string(i);
    source.append("function f").append(number).append("(a){return a+g(").append(number);
    source.append(18 - 2 * number.size() + 8, ' ').append(")};");
  }
  const ParseResult result = parse(source, "javascript");
  ASSERT_EQ(result.symbols.size(), COUNT);
  EXPECT_EQ(result.symbols.back().signature, std::string(first(source, 197)) + "...");
  // All calls have one name and one line, so that one reference is left.
  EXPECT_EQ(result.references.size(), 1u);
}

TEST(BodyDigestTest, FunctionsThatEndOnOneLine) {
  constexpr std::size_t DEPTH = 5'000;
  std::string source;
  for (std::size_t i = 0; i < DEPTH; ++i) source += "function f(){\n";
  source += "return 1" + repeated("}", DEPTH) + " // " + std::string(1'000'000, 'x');
  const ParseResult result = parse(source, "javascript");
  ASSERT_EQ(result.symbols.size(), DEPTH);
  EXPECT_EQ(result.symbols.back().body_digest, "return 1}");
  EXPECT_EQ(result.symbols[DEPTH - 2].body_digest, "function f(){\nreturn 1}}");
}

TEST(BodyDigestTest, NestedBodiesWithoutLogic) {
  constexpr std::size_t DEPTH = 5'000;
  std::string source;
  for (std::size_t i = 0; i < DEPTH; ++i) source += "function\nf(){\n";
  source += repeated("a = b;\n", IS_SANITIZED ? 5'000 : 100'000) + repeated("}", DEPTH);
  EXPECT_EQ(parse(source, "javascript").symbols.size(), DEPTH);
}

}  // namespace
}  // namespace engines::treesitter
