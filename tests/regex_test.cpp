// The expression of body digests, compared with Python's re on generated lines; and the
// hand-written scan, compared with the expression.
#include "engines/treesitter/text/regex.h"

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

// Shows quadratic searches, match limits and stack limits. With the accent the expression is used
// instead of the hand-written scan.
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
