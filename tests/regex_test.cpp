// The digest expression: compared with Python's re on generated lines, and the scan by hand with
// the expression.
#include "engines/treesitter/core/regex.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "tests/support/text_tables.h"

namespace engines::treesitter {
namespace {

using End = std::optional<std::size_t>;

TEST(RegexTest, FindsWhatPythonsReFinds) {
  for (const auto& row : text_tables()["logic"]) {
    const auto line = row[0].get<std::string>();
    const int end = row[1].get<int>();
    const End expected = end < 0 ? End() : End(static_cast<std::size_t>(end));
    EXPECT_EQ(find_logic_end(line), expected) << line;
    EXPECT_EQ(_BODY_DIGEST_RE.find_end(line), expected) << line;
  }
}

TEST(RegexTest, ScanByHandEqualsTheExpression) {
  constexpr std::string_view PIECES[] = {"if", "go", "guard", "continue", "x",    "_",
                                         "0",  "(",  " ",     "\t",       "\x1c", "\n",
                                         "\v", "-",  ".",     "G",        ")",    "s"};
  std::mt19937 random(1);
  for (int i = 0; i < 100'000; ++i) {
    std::string line;
    for (auto count = random() % 8; count > 0; --count)
      line += PIECES[random() % std::size(PIECES)];
    ASSERT_EQ(find_logic_end(line), _BODY_DIGEST_RE.find_end(line)) << line;
  }
}

TEST(RegexTest, WholeLowerCaseWordsAndCalls) {
  struct Case {
    std::string_view line;
    int end;
  };
  const std::vector<Case> cases = {
      {"", -1},         {"throws", -1},       {"format", -1},      {"doing", -1},
      {"Return", -1},   {"RETURN x", -1},     {"elif", 4},         {"_if", -1},
      {"if2", -1},      {"if_", -1},          {"x.if.y", 4},       {"format(x)", 7},
      {"f \t (", 5},    {"x = y", -1},        {"(x)", -1},         {"1(", 2},
      {"x[0](", -1},    {"/* call(x) */", 8}, {"élif", -1},        {"é(", 3},
      {"e\u0301(", -1}, {"if\u0301", 2},      {"f\u3000(", 5},     {"f\u200B(", -1},
      {"f\u180E(", -1}, {"f\x1C(", 3},        {"\uFEFFreturn", 9}, {"字go", -1},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(find_logic_end(c.line), c.end < 0 ? End() : End(static_cast<std::size_t>(c.end)))
        << c.line;
  }
}

TEST(RegexTest, KeywordsAreTwentySix) {
  std::size_t longest = 0;
  std::size_t count = 0;
  for (const std::string_view word :
       {"if",     "elif",   "else",  "for",     "while",  "do",     "switch",   "case",  "match",
        "try",    "except", "catch", "finally", "with",   "return", "yield",    "raise", "throw",
        "assert", "await",  "defer", "go",      "select", "break",  "continue", "guard"}) {
    EXPECT_TRUE(is_logic_keyword(word)) << word;
    longest = std::max(longest, word.size());
    ++count;
  }
  EXPECT_EQ(count, 26u);
  EXPECT_EQ(longest, LONGEST_KEYWORD);
  for (const std::string_view word : {"", "i", "ifs", "continues", "If", "goto"}) {
    EXPECT_FALSE(is_logic_keyword(word)) << word;
  }
}

// Quadratic searches, match limits and stack limits show here; the accent keeps the scan by hand
// out.
TEST(RegexTest, LongRunsOfOneCharacter) {
  constexpr std::size_t COUNT = 160'000;
  for (const std::string& run :
       {std::string(COUNT, 'a'), std::string(COUNT, ' '), "f" + std::string(COUNT, ' ')}) {
    for (const std::string_view before : {"", "é "}) {
      const std::string line = std::string(before) + run;
      EXPECT_EQ(find_logic_end(line), std::nullopt);
      EXPECT_EQ(_BODY_DIGEST_RE.find_end(line), std::nullopt);
      EXPECT_EQ(find_logic_end(line + "x ("), line.size() + 3);
      EXPECT_EQ(_BODY_DIGEST_RE.find_end(line + "x ("), line.size() + 3);
    }
  }
}

TEST(RegexTest, AFaultyPatternIsSaid) { EXPECT_THROW(Regex("(a"), std::logic_error); }

}  // namespace
}  // namespace engines::treesitter
