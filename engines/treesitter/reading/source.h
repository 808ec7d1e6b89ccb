// Source: the bytes of the file being parsed, and facts about them that several rules need and that
// are found once: where they are ill-formed UTF-8, and which lines carry logic.
//
// The whole file is never decoded. Every rule reads lines or nodes, and a line feed is never part
// of an ill-formed sequence, so a line can be decoded by itself.
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

#include "engines/treesitter/cancellation/stop_check.h"
#include "engines/treesitter/reading/line_index.h"

namespace engines::treesitter {

// A line with control flow or a call; body digests are made of these. Offsets are in bytes of the
// file.
struct LogicLine {
  std::uint32_t row;            // 0-based
  std::uint32_t trimmed_begin;  // the line without whitespace at its ends
  std::uint32_t trimmed_end;
  std::uint32_t logic_end;  // where the first keyword or call of the line ends
};

// Whether a line begins as comments and docstrings do. It carries no logic then, whatever it holds.
bool is_comment_line(std::string_view trimmed);

class Source {
 public:
  struct Range {
    std::size_t begin;
    std::size_t end;
  };

  // `bytes`, which are less than 4 GiB, and `stop` must outlive this. Throws CancelledError.
  explicit Source(std::string_view bytes, StopCheck& stop = never_cancelled);

  // To be called from loops over the whole file or tree. Throws CancelledError.
  void check_cancelled() const { _stop.check(); }
  StopCheck& stop() const { return _stop; }

  std::string_view bytes() const { return _bytes; }
  const LineIndex& lines() const { return _lines; }

  // The offset of the first byte that is no UTF-8, if there is one.
  std::optional<std::size_t> first_ill_formed() const {
    return _ill_formed.empty() ? std::nullopt : std::optional(_ill_formed.front().begin);
  }

  // Whether the bytes from `begin` up to `end` are well-formed UTF-8. Costs two comparisons in a
  // well-formed file and a bisection in others, whatever the length of the range: rules ask about
  // whole bodies, once per level of nesting.
  bool is_utf8(std::size_t begin, std::size_t end) const;

  // The bytes from `begin` up to `end`, with one U+FFFD for each ill-formed sequence. The view
  // points into the file when nothing is replaced, and otherwise into `storage`.
  std::string_view decoded(std::size_t begin, std::size_t end, std::string& storage) const;

  // Whether the bytes from `begin` up to `end` contain `word`, which must live as long as the
  // process. The first call for a word finds its places in the file; a call costs a bisection among
  // them. Searching each text would read a file once per level of nesting: modifiers hold
  // annotations, whose arguments hold classes with modifiers.
  bool contains(std::size_t begin, std::size_t end, std::string_view word) const;

  // The line that holds the byte at `offset`, without its line feed.
  Range line_at(std::size_t offset) const;

  // The range without the whitespace at the ends of its text.
  Range trimmed(Range range) const;

  // All lines that carry logic, by row. The first call finds them, in one pass over the file, so
  // that the lines of nested functions are not searched once per level.
  const std::vector<LogicLine>& logic_lines() const;

 private:
  // The bytes of a line, with a question mark for each byte that is no UTF-8. It is no letter,
  // space or bracket, as U+FFFD is none, and keeps the offsets.
  std::string_view judged(Range line, std::string& storage) const;

  struct WordPlaces {
    std::string_view word;
    std::vector<std::uint32_t> places;  // where it begins, in order
  };
  const std::vector<std::uint32_t>& places_of(std::string_view word) const;

  std::string_view _bytes;
  StopCheck& _stop;
  LineIndex _lines;
  std::vector<Range> _ill_formed;  // in order; adjacent ones are joined
  mutable std::optional<std::vector<LogicLine>> _logic_lines;
  mutable std::vector<WordPlaces> _word_places;  // of the words asked for, few of them
};

}  // namespace engines::treesitter
