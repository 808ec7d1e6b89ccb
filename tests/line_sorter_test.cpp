// The sorter of tags: any lines, in memory and in temporary files.
#include "tool/line_sorter.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <numeric>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

namespace tool {
namespace {

class WholeLines final : public ByteSink {
 public:
  void write(std::string_view bytes) override {
    EXPECT_TRUE(bytes.ends_with('\n')) << "cut within a line";
    EXPECT_LE(bytes.size(), LineSorter::LONGEST_LINE);
    text += bytes;
  }
  std::string text;
};

std::string joined(const std::vector<std::string>& lines) {
  return std::accumulate(lines.begin(), lines.end(), std::string());
}

std::vector<std::string> random_lines(std::mt19937& random, std::size_t bytes) {
  std::vector<std::string> lines;
  for (std::size_t size = 0; size < bytes; size += lines.back().size()) {
    // Mostly short; some as long as they may be. Half of the bytes are above ASCII.
    const bool is_long = random() % 200 == 0;
    std::string line(random() % (is_long ? LineSorter::LONGEST_LINE : 40), ' ');
    for (char& byte : line) byte = static_cast<char>(random() % 2 == 0 ? 'a' : 0x80 | random() % 3);
    lines.push_back(line + '\n');
  }
  return lines;
}

TEST(LineSorterTest, SortsWhateverItTakesInAndOutOfMemory) {
  std::mt19937 random(1);
  for (const std::size_t bytes : {0U, 50U, 400'000U, 3'000'000U}) {
    std::vector<std::string> lines = random_lines(random, bytes);
    lines.push_back(std::string(LineSorter::LONGEST_LINE - 1, 'l') + '\n');
    std::string input = joined(lines);
    input.insert(0, std::string(LineSorter::LONGEST_LINE, 'x') + '\n');
    input += std::string(3 * LineSorter::LONGEST_LINE, 'x') + '\n';
    LineSorter sorter(16 * LineSorter::LONGEST_LINE);
    for (std::size_t at = 0; at < input.size();) {
      const std::size_t size = random() % (random() % 2 == 0 ? 50 : 200'000);
      sorter.write(std::string_view(input).substr(at, size));
      at += size;
    }
    WholeLines output;
    sorter.write_sorted(output);
    std::sort(lines.begin(), lines.end());
    EXPECT_TRUE(output.text == joined(lines)) << bytes;
    EXPECT_EQ(sorter.left_out(), 2U);
  }
}

TEST(LineSorterTest, TakesNoMoreThanItCanMerge) {
  constexpr std::size_t MEMORY = 4 * LineSorter::LONGEST_LINE;
  const std::string line = std::string(LineSorter::LONGEST_LINE - 1, 'x') + '\n';
  LineSorter sorter(MEMORY);
  const auto write_all = [&] {
    for (int i = 0; i < 100; ++i) sorter.write(line);
  };
  EXPECT_THROW(write_all(), std::length_error);
}

}  // namespace
}  // namespace tool
