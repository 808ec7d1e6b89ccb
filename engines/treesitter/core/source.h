// The bytes of the file being parsed, with what several rules ask about them and what is therefore
// worked out once: where they are ill-formed UTF-8, and which lines carry logic.
//
// The decoded text of a whole file is never built: every rule reads lines or nodes, and U+000A is
// never part of an ill-formed sequence, so that decoding a line equals the line of the decoding.
//
// One Source serves one parse on one thread.
//
// Tested by tests/source_test.cpp.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace engines::treesitter {

// A line that carries control flow or a call, as a body digest keeps it.
struct LogicLine {
  std::uint32_t row;          // 0-based
  std::size_t begin;          // of the line, in bytes of the file
  std::size_t trimmed_begin;  // the line without its leading and trailing whitespace
  std::size_t trimmed_end;
};

class Source {
 public:
  // The bytes must outlive the Source.
  explicit Source(std::string_view bytes);

  std::string_view bytes() const { return _bytes; }

  // Whether the bytes from `begin` up to `end` are well-formed UTF-8. Costs two comparisons in a
  // well-formed file and a bisection in any other, however long the range is: rules ask for the
  // text of whole bodies, once per level of nesting.
  bool is_utf8(std::size_t begin, std::size_t end) const;

  // The bytes from `begin` up to `end`, each ill-formed sequence replaced by one U+FFFD. The view
  // points into the file when nothing is to be replaced, and otherwise into `storage`.
  std::string_view decoded(std::size_t begin, std::size_t end, std::string& storage) const;

  // The line, without its line feed, that holds the byte at `offset`, as a range of bytes.
  struct Range {
    std::size_t begin;
    std::size_t end;
  };
  Range line_at(std::size_t offset) const;

  // All lines that carry logic, by row. Worked out at the first call, in one pass over the file.
  const std::vector<LogicLine>& logic_lines() const;

 private:
  std::string_view _bytes;
  std::vector<Range> _ill_formed;  // disjoint, in order; neighbours are joined
  mutable std::optional<std::vector<LogicLine>> _logic_lines;
};

}  // namespace engines::treesitter
