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

#include "engines/treesitter/cancellation/stop_check.h"

namespace engines::treesitter {

// A line that carries control flow or a call, as a body digest keeps it. Offsets count the file's
// bytes.
struct LogicLine {
  std::uint32_t row;            // 0-based
  std::uint32_t trimmed_begin;  // the line without its leading and trailing whitespace
  std::uint32_t trimmed_end;
  std::uint32_t logic_end;  // where the first keyword or call of the line ends
};

// The prefixes of comments and docstrings, whose lines carry no logic whatever they hold.
bool is_comment_line(std::string_view trimmed);

class Source {
 public:
  struct Range {
    std::size_t begin;
    std::size_t end;
  };

  // The bytes, less than 4 GiB, and `stop` must outlive the Source. Throws CancelledError.
  explicit Source(std::string_view bytes, StopCheck& stop = never_cancelled);

  // Whoever reads the file or its tree from one end to the other asks in between. Throws
  // CancelledError.
  void check_cancelled() const { _stop.check(); }
  StopCheck& stop() const { return _stop; }

  std::string_view bytes() const { return _bytes; }

  // Where the first byte stands that is no UTF-8, if there is one.
  std::optional<std::size_t> first_ill_formed() const {
    return _ill_formed.empty() ? std::nullopt : std::optional(_ill_formed.front().begin);
  }

  // Whether the bytes from `begin` up to `end` are well-formed UTF-8. Costs two comparisons in a
  // well-formed file and a bisection in any other, however long the range is: rules ask for the
  // text of whole bodies, once per level of nesting.
  bool is_utf8(std::size_t begin, std::size_t end) const;

  // The bytes from `begin` up to `end`, each ill-formed sequence replaced by one U+FFFD. The view
  // points into the file when nothing is to be replaced, and otherwise into `storage`.
  std::string_view decoded(std::size_t begin, std::size_t end, std::string& storage) const;

  // Whether `word`, which must live as long as the process, stands in the bytes from `begin` up to
  // `end`. Its places in the file are worked out at the first question and searched by bisection:
  // modifiers hold annotations, whose arguments hold classes with modifiers of their own, so that
  // searching the text of each would read a file once per level of nesting.
  bool contains(std::size_t begin, std::size_t end, std::string_view word) const;

  // The line, without its line feed, that holds the byte at `offset`.
  Range line_at(std::size_t offset) const;

  // The range without the whitespace at its ends, as its decoded text would be trimmed.
  Range trimmed(Range range) const;

  // All lines that carry logic, by row. Worked out at the first call, in one pass over the file:
  // nested functions would otherwise have their lines judged once per level.
  const std::vector<LogicLine>& logic_lines() const;

 private:
  // The bytes with each byte of an ill-formed sequence replaced by a question mark, which like
  // U+FFFD is no letter, space or bracket: a line is judged alike and keeps its offsets.
  std::string_view judged(Range line, std::string& storage) const;

  struct WordPlaces {
    std::string_view word;
    std::vector<std::uint32_t> places;  // where it begins, in order
  };
  const std::vector<std::uint32_t>& places_of(std::string_view word) const;

  std::string_view _bytes;
  StopCheck& _stop;
  std::vector<Range> _ill_formed;  // disjoint, in order; neighbours are joined
  mutable std::optional<std::vector<LogicLine>> _logic_lines;
  mutable std::vector<WordPlaces> _word_places;  // of each word that was asked for, at most six
};

}  // namespace engines::treesitter
