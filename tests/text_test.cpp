// Text arithmetic, compared with what Python's str and bytes say of the same texts
// (scripts/make_text_tables), and helpers of the rules.
#include "engines/treesitter/text/text.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "engines/treesitter/treesitter.h"
#include "tests/support/text_tables.h"

namespace engines::treesitter {
namespace {

using Strings = std::vector<std::string>;

std::string encoded(char32_t value) {
  std::string text;
  if (value < 0x80) return std::string(1, static_cast<char>(value));
  const int more = value < 0x800 ? 1 : value < 0x10000 ? 2 : 3;
  text.push_back(
      static_cast<char>((0xF0 << (3 - more) & 0xFF) | static_cast<int>(value >> 6 * more)));
  for (int i = more - 1; i >= 0; --i)
    text.push_back(static_cast<char>(0x80 | (value >> 6 * i & 0x3F)));
  return text;
}

// A property of code points, from the list of code points at which it changes.
class Flips {
 public:
  explicit Flips(const char* name) : _flips(text_tables()[name].get<std::vector<char32_t>>()) {}
  // Each call needs a larger value than the one before.
  bool has(char32_t value) {
    while (_next < _flips.size() && _flips[_next] <= value) ++_next;
    return _next % 2 == 1;
  }

 private:
  std::vector<char32_t> _flips;
  std::size_t _next = 0;
};

// Lower case since Unicode 15, which ICU has and the table's Python has not.
constexpr std::array<char32_t, 5> LOWER_SINCE_15 = {0x10FC, 0xA7F2, 0xA7F3, 0xA7F4, 0xAB69};

TEST(TextTest, EveryCodePointHasPythonsProperties) {
  Flips assigned("assigned"), whitespace("whitespace"), word("word"), upper("upper"),
      prevents_upper("prevents_upper");
  for (char32_t value = 0; value <= 0x10FFFF; ++value) {
    if (value == 0xD800) value = 0xE000;
    const std::string text = encoded(value);
    const CodePoint point = code_point_at(text, 0);
    ASSERT_TRUE(point.value == value && point.size == text.size()) << std::hex << unsigned(value);
    ASSERT_EQ(last_code_point("A" + text), value);
    ASSERT_EQ(is_whitespace(value), whitespace.has(value)) << std::hex << unsigned(value);
    // Code points that are unassigned in one version of Unicode may be assigned in another.
    const bool is_word_there = word.has(value);
    const bool is_upper_there = upper.has(value);
    const bool prevents = prevents_upper.has(value);
    if (!assigned.has(value)) continue;
    ASSERT_EQ(is_word(value), is_word_there) << std::hex << unsigned(value);
    ASSERT_EQ(is_upper(text), is_upper_there) << std::hex << unsigned(value);
    if (std::count(LOWER_SINCE_15.begin(), LOWER_SINCE_15.end(), value) > 0) continue;
    ASSERT_EQ(is_upper("A" + text), !prevents) << std::hex << unsigned(value);
  }
}

struct Fault {
  std::size_t start;
  std::size_t end;
  char reason;
};

// "41e282 1-3e": bytes, and for each fault its range and the letter of its reason.
struct DecodingRow {
  std::string bytes;
  std::vector<Fault> faults;

  explicit DecodingRow(std::string_view row) {
    const auto fields = split(row, ' ');
    for (std::size_t i = 0; i < fields[0].size(); i += 2) {
      bytes.push_back(
          static_cast<char>(std::stoi(std::string(fields[0].substr(i, 2)), nullptr, 16)));
    }
    for (std::size_t i = 1; i < fields.size(); ++i) {
      Fault fault{};
      std::sscanf(std::string(fields[i]).c_str(), "%zu-%zu%c", &fault.start, &fault.end,
                  &fault.reason);
      faults.push_back(fault);
    }
  }
};

TEST(TextTest, DecodesAsPythonDoes) {
  const std::map<char, std::string> reasons = {{'s', "invalid start byte"},
                                               {'c', "invalid continuation byte"},
                                               {'e', "unexpected end of data"}};
  for (const std::string row_text : text_tables()["decoding"]) {
    const DecodingRow row(row_text);
    std::string expected;
    std::size_t at = 0;
    for (const Fault& fault : row.faults) {
      expected.append(row.bytes, at, fault.start - at).append("\uFFFD");
      at = fault.end;
    }
    EXPECT_EQ(decode_replacing(row.bytes), expected.append(row.bytes, at)) << row_text;
    try {
      require_utf8(row.bytes);
      EXPECT_TRUE(row.faults.empty()) << row_text;
    } catch (const Utf8Error& error) {
      ASSERT_FALSE(row.faults.empty()) << row_text;
      EXPECT_EQ(error.start, row.faults[0].start) << row_text;
      EXPECT_EQ(error.end, row.faults[0].end) << row_text;
      EXPECT_EQ(error.reason, reasons.at(row.faults[0].reason)) << row_text;
      EXPECT_EQ(error.object, row.bytes);
    }
  }
}

TEST(TextTest, TrimsAndSplitsAsPythonDoes) {
  for (const Strings row : text_tables()["trimming"]) {
    const std::string& text = row[0];
    EXPECT_EQ(trim_start(text), row[1]);
    EXPECT_EQ(trim_end(text), row[2]);
    EXPECT_EQ(trim(text), trim_start(row[2]));
    const auto words = split_whitespace(text);
    EXPECT_EQ(Strings(words.begin(), words.end()), Strings(row.begin() + 3, row.end())) << text;
  }
}

TEST(TextTest, CountsAndCutsCodePoints) {
  const std::string text = "aé字😀";
  const Strings prefixes = {"", "a", "aé", "aé字", text, text};
  for (std::size_t count = 0; count < prefixes.size(); ++count) {
    EXPECT_EQ(first(text, count), prefixes[count]);
    EXPECT_EQ(length(text, count), std::min<std::size_t>(count, 4));
    EXPECT_EQ(length(prefixes[count]), std::min<std::size_t>(count, 4));
  }
}

TEST(TextTest, SplitsAtEverySeparator) {
  const auto pieces = [](std::string_view text) {
    const auto views = split(text, '\n');
    return Strings(views.begin(), views.end());
  };
  EXPECT_EQ(pieces(""), Strings{""});
  EXPECT_EQ(pieces("a\r\nb\u2028c\n\n"), (Strings{"a\r", "b\u2028c", "", ""}));
}

TEST(TextTest, StripsOnePairOfMatchingQuotes) {
  const std::vector<std::pair<std::string_view, std::string_view>> cases = {
      {"'a'", "a"},     {"\"a\"", "a"}, {"''", ""},       {"\"\"", ""},     {"'", "'"},
      {"\"", "\""},     {"", ""},       {"'a\"", "'a\""}, {"\"a'", "\"a'"}, {"'a'b'", "a'b"},
      {"''a''", "'a'"}, {"`a`", "`a`"}, {"'a", "'a"},     {"a'", "a'"},     {"'\\''", "\\'"},
  };
  for (const auto& [text, expected] : cases)
    EXPECT_EQ(_strip_matching_quotes(text), expected) << text;
}

}  // namespace
}  // namespace engines::treesitter
