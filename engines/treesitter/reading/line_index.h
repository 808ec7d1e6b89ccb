// LineIndex: the row and the column of a byte, without a list of lines.
//
// Keeps how many line feeds there are before every 64th byte, a sixteenth of the file's size
// whatever its lines, and counts the rest when it is asked. So the nodes of a tree need no rows of
// their own.
//
// Tested by tests/source_test.cpp.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

#include "engines/treesitter/cancellation/stop_check.h"

namespace engines::treesitter {

class LineIndex {
 public:
  // Makes the index in one pass. `bytes`, which are less than 4 GiB, must outlive it. Throws
  // CancelledError.
  LineIndex(std::string_view bytes, StopCheck& stop);

  // 0-based; a line ends with its line feed. `offset` is at most the number of bytes. Costs a few
  // nanoseconds.
  std::uint32_t row_at(std::size_t offset) const;
  // In bytes, 0-based. Costs a bisection.
  std::uint32_t column_at(std::size_t offset) const;

 private:
  std::string_view _bytes;
  std::vector<std::uint32_t> _rows;  // of every BLOCK-th byte
};

}  // namespace engines::treesitter
