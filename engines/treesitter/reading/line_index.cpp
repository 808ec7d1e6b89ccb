// See line_index.h.
#include "engines/treesitter/reading/line_index.h"

#include <algorithm>
#include <cstring>

namespace engines::treesitter {
namespace {

constexpr std::size_t BLOCK = 64;

// Eight bytes at a time, since the baseline of x86-64 makes compilers count single bytes one by
// one.
std::uint32_t line_feeds(std::string_view bytes) {
  constexpr std::uint64_t EACH = 0x0101010101010101;
  constexpr std::uint64_t LOW_BITS = 0x7F * EACH;
  std::uint32_t count = 0;
  for (; bytes.size() >= sizeof(std::uint64_t); bytes.remove_prefix(sizeof(std::uint64_t))) {
    std::uint64_t word = 0;
    std::memcpy(&word, bytes.data(), sizeof(word));
    word ^= '\n' * EACH;
    // The high bit of each byte that is zero now.
    const std::uint64_t found = ~(((word & LOW_BITS) + LOW_BITS) | word | LOW_BITS);
    count += static_cast<std::uint32_t>(((found >> 7) * EACH) >> 56);
  }
  return count + static_cast<std::uint32_t>(std::count(bytes.begin(), bytes.end(), '\n'));
}

}  // namespace

LineIndex::LineIndex(std::string_view bytes, StopCheck& stop) : _bytes(bytes) {
  _rows.reserve(bytes.size() / BLOCK + 1);
  std::uint32_t row = 0;
  for (std::size_t begin = 0; begin <= bytes.size(); begin += BLOCK) {
    if (begin % BYTES_PER_CHECK == 0) stop.check();
    _rows.push_back(row);
    row += line_feeds(bytes.substr(begin, BLOCK));
  }
}

std::uint32_t LineIndex::row_at(std::size_t offset) const {
  const std::size_t begin = offset - offset % BLOCK;
  return _rows[begin / BLOCK] + line_feeds(_bytes.substr(begin, offset - begin));
}

std::uint32_t LineIndex::column_at(std::size_t offset) const {
  const std::uint32_t row = row_at(offset);
  if (row == 0) return static_cast<std::uint32_t>(offset);
  // The line feed before the row lies in the block before the first one that knows of it.
  const auto block = std::lower_bound(_rows.begin(), _rows.end(), row) - _rows.begin();
  const std::size_t end = std::min(offset, static_cast<std::size_t>(block) * BLOCK);
  return static_cast<std::uint32_t>(offset - _bytes.rfind('\n', end - 1) - 1);
}

}  // namespace engines::treesitter
