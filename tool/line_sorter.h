// All lines of a run in the order of their bytes, in bounded memory.
//
// Lines are collected until they fill what they may take, then sorted and put aside in a temporary
// file that has no name any longer, so that nothing is left behind however the process ends. At the
// end the pieces are merged, 64 KiB of each at a time. One file serves all pieces: descriptors do
// not limit their number, memory does.
//
// Refused: `sort` in a process of its own, which would have to be found, waited for and fed without
// either side blocking the other.
//
// Cost: what sorting costs, and each byte written and read once where they are more than one piece.
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

// Takes lines that end with a line feed, in pieces that may begin and end anywhere.
class LineSorter final : public ByteSink {
 public:
  // Of a line, with its line feed; longer ones are left out. A merge holds that much of each piece.
  static constexpr std::size_t LONGEST_LINE = std::size_t{64} * 1024;
  // Sorts up to 512 pieces, some 14 GiB of tags.
  static constexpr std::size_t MEMORY = std::size_t{32} << 20;

  // `memory`: the most bytes that it takes, several LONGEST_LINE.
  explicit LineSorter(std::size_t memory = MEMORY) : _memory(memory) {}

  // Throws std::system_error when there is no room for the temporary file, std::length_error when
  // the pieces are too many to be merged within the memory.
  void write(std::string_view bytes) override;

  // How many lines were too long so far.
  std::size_t left_out() const { return _left_out; }

  // Writes all lines that were taken, and takes no more. What reaches the sink at once is whole
  // lines of at most 64 KiB together. Throws std::system_error.
  void write_sorted(ByteSink& sink);

 private:
  struct Piece {
    std::uint64_t begin;  // in the file
    std::uint64_t end;
  };

  void take(std::string_view part);
  void put_aside();
  std::vector<std::string_view> sorted_lines() const;
  void merge(ByteSink& sink) const;

  const std::size_t _memory;
  std::string _text;            // whole lines, and the beginning of the next one
  std::size_t _line_count = 0;  // of the whole ones
  std::size_t _line_begin = 0;  // where the next one begins
  bool _is_too_long = false;    // it, so that its rest is dropped
  std::size_t _left_out = 0;
  std::optional<OwnedDescriptor> _file;
  std::vector<Piece> _pieces;
};

}  // namespace tool
