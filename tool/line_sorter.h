// Sorts lines by their bytes in bounded memory.
//
// Lines are collected until the memory is full, then sorted and written to a temporary file as one
// piece. At the end the pieces are merged, with 64 KiB of each in memory. All pieces are in one
// file, so that memory and not descriptors limit their number. The file is unlinked when it is
// made, so that nothing remains however the process ends.
//
// Refused: `sort` in a process of its own, which would have to be found, waited for and fed without
// either side blocking the other.
//
// Cost: sorting; and with more than one piece, each byte is written and read once.
//
// Tested by tests/line_sorter_test.cpp.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "tool/byte_sink.h"
#include "tool/descriptors.h"

namespace tool {

// A sink for lines that end with a line feed. What is written may begin and end within a line.
class LineSorter final : public ByteSink {
 public:
  // In bytes, with the line feed. Longer lines are left out. A merge holds that much of each piece.
  static constexpr std::size_t LONGEST_LINE = std::size_t{64} * 1024;
  // In bytes. Enough for 512 pieces, some 14 GiB of tags.
  static constexpr std::size_t MEMORY = std::size_t{32} << 20;

  // `memory`: the most bytes to use, several LONGEST_LINE.
  explicit LineSorter(std::size_t memory = MEMORY) : _memory(memory) {}

  // Throws std::system_error when the temporary file cannot be made or written, std::length_error
  // when there are too many pieces to be merged in the memory.
  void write(std::string_view bytes) override;

  // How many lines so far were too long.
  std::size_t left_out() const { return _left_out; }

  // Writes all lines in order; call it last. Each piece that the sink gets is whole lines, at most
  // 64 KiB together. Throws std::system_error.
  void write_sorted(ByteSink& sink);

 private:
  struct Piece {
    std::uint64_t begin;  // in the file
    std::uint64_t end;
  };

  void take(std::string_view part);
  void write_piece();
  std::vector<std::string_view> sorted_lines() const;
  void merge(ByteSink& sink) const;

  const std::size_t _memory;
  std::string _text;            // whole lines, and the beginning of the last one
  std::size_t _line_count = 0;  // how many are whole
  std::size_t _line_begin = 0;  // where the last one begins
  bool _is_too_long = false;    // the last one, whose rest is dropped
  std::size_t _left_out = 0;
  std::optional<OwnedDescriptor> _file;
  std::vector<Piece> _pieces;
};

}  // namespace tool
