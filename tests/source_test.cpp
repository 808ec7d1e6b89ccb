// The questions about ranges and lines of a file, compared with answers from the range's own bytes.
#include "engines/treesitter/reading/source.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "engines/treesitter/text/regex.h"
#include "engines/treesitter/text/text.h"
#include "engines/treesitter/treesitter.h"

namespace engines::treesitter {
namespace {

bool decodes(std::string_view bytes) {
  try {
    require_utf8(bytes);
    return true;
  } catch (const Utf8Error&) {
    return false;
  }
}

// Pieces that begin, continue, end or break characters of all sizes, so that ranges are cut at all
// kinds of places.
constexpr std::string_view PIECES[] = {
    "a",        "\n",   " ",        "if",   "(",    "é",        "字",           "\U0001F600",
    "\u2028",   "\xE2", "\xE2\x80", "\x80", "\xC3", "\xF0\x9F", "\xF0\x9F\x98", "\xED\xA0\x80",
    "\xC0\x80", "\xFF", "\xF4\x90",
};

template <typename Check>
void for_random_bytes(int count, Check check) {
  std::mt19937 random(3);
  for (int i = 0; i < count; ++i) {
    std::string bytes;
    for (auto pieces = random() % 9; pieces > 0; --pieces)
      bytes += PIECES[random() % std::size(PIECES)];
    check(bytes);
    if (testing::Test::HasFailure()) return;
  }
}

TEST(SourceTest, RowsAndColumnsOfEveryByte) {
  const auto check = [](std::string_view bytes) {
    const Source source(bytes);
    std::uint32_t row = 0;
    std::uint32_t column = 0;
    for (std::size_t at = 0; at <= bytes.size(); ++at) {
      ASSERT_EQ(source.lines().row_at(at), row) << testing::PrintToString(bytes) << ' ' << at;
      ASSERT_EQ(source.lines().column_at(at), column) << testing::PrintToString(bytes) << ' ' << at;
      if (at == bytes.size()) break;
      column = bytes[at] == '\n' ? 0 : column + 1;
      row += bytes[at] == '\n' ? 1 : 0;
    }
  };
  for_random_bytes(300, check);
  std::mt19937 random(5);
  for (const std::uint32_t chance : {1u, 2u, 10u, 100u, 1000u}) {
    std::string bytes;
    for (int i = 0; i < 1000; ++i)
      bytes += random() % chance == 0 ? '\n' : static_cast<char>(random());
    check(bytes);
  }
}

TEST(SourceTest, EveryRangeIsJudgedAndDecodedAsItsBytesAre) {
  for_random_bytes(3000, [](std::string_view bytes) {
    const Source source(bytes);
    std::string storage;
    for (std::size_t begin = 0; begin <= bytes.size(); ++begin) {
      for (std::size_t end = begin; end <= bytes.size(); ++end) {
        const std::string_view range = bytes.substr(begin, end - begin);
        EXPECT_EQ(source.is_utf8(begin, end), decodes(range))
            << testing::PrintToString(bytes) << ' ' << begin << '-' << end;
        EXPECT_EQ(source.decoded(begin, end, storage), decode_replacing(range));
      }
    }
  });
}

TEST(SourceTest, DecodedPointsIntoTheFileWhereItCan) {
  const std::string_view bytes =
      "ab\xFF"
      "c";
  const Source source(bytes);
  std::string storage;
  EXPECT_EQ(source.decoded(1, 2, storage).data(), bytes.data() + 1);
  EXPECT_EQ(source.decoded(0, 4, storage), "ab\uFFFDc");
}

// Words that overlap themselves and each other, in each range of the file.
TEST(SourceTest, ContainsWhatASearchOfTheRangeFinds) {
  constexpr std::string_view WORDS[] = {"aa", "aba", "b", "aab"};
  std::mt19937 random(5);
  for (int i = 0; i < 300; ++i) {
    std::string bytes;
    for (auto length = random() % 12; length > 0; --length) bytes += "ab "[random() % 3];
    const Source source(bytes);
    for (const std::string_view word : WORDS) {
      for (std::size_t begin = 0; begin <= bytes.size(); ++begin) {
        for (std::size_t end = begin; end <= bytes.size(); ++end) {
          const auto range = std::string_view(bytes).substr(begin, end - begin);
          EXPECT_EQ(source.contains(begin, end, word), range.find(word) != std::string_view::npos)
              << bytes << ' ' << begin << '-' << end << ' ' << word;
        }
      }
    }
  }
}

// For each row: the trimmed line, decoded, and the byte where its logic ends.
TEST(SourceTest, LinesAreThoseOfTheDecodedText) {
  for_random_bytes(3000, [](std::string_view bytes) {
    const Source source(bytes);
    std::string storage;
    const auto& logic_lines = source.logic_lines();
    auto logic = logic_lines.begin();
    std::size_t begin = 0;
    std::uint32_t row = 0;
    for (const std::string_view raw : split(bytes, '\n')) {
      const std::string text = decode_replacing(raw);
      const std::string_view trimmed = trim(text);
      const Source::Range line = source.line_at(begin);
      EXPECT_EQ(line.begin, begin);
      EXPECT_EQ(line.end, begin + raw.size());
      EXPECT_EQ(source.line_at(line.end).begin, begin);
      const Source::Range range = source.trimmed(line);
      EXPECT_EQ(source.decoded(range.begin, range.end, storage), trimmed);

      const auto logic_end = find_logic_end(trimmed);
      ASSERT_EQ(logic != logic_lines.end() && logic->row == row, logic_end.has_value())
          << testing::PrintToString(bytes);
      if (logic_end) {
        EXPECT_EQ(logic->trimmed_begin, range.begin);
        EXPECT_EQ(logic->trimmed_end, range.end);
        EXPECT_EQ(source.decoded(range.begin, logic->logic_end, storage),
                  trimmed.substr(0, *logic_end));
        ++logic;
      }
      begin = line.end + 1;
      ++row;
    }
    EXPECT_TRUE(logic == logic_lines.end());
  });
}

}  // namespace
}  // namespace engines::treesitter
