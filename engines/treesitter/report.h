// What one parse met and took: for people who ask why a file is slow, or its record odd. A part of
// treesitter.h, which includes it.
//
// TreeSitterEngine::explain fills it in on the road that every parse takes. A parse that ends early
// leaves what it did not reach as it was: none, or 0.
//
// Tested by tests/report_test.cpp.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>

namespace engines::treesitter {

// How a file's bytes look. Parsed they are as UTF-8 in any case.
enum class Encoding : std::uint8_t {
  utf8,
  utf8_with_mark,  // with a byte order mark in front
  utf16_little,    // by its mark, or by where NULs stand among the first 8 KiB
  utf16_big,
  binary,      // other NULs among the first 8 KiB
  ill_formed,  // none of these
};

struct ParseReport {
  using Duration = std::chrono::nanoseconds;

  // What a guard counted, and at which number it would have spoken. Without initialisers, since
  // clang 14 ends on those of a template within a class.
  template <typename Number>
  struct Spent {
    Number used;
    Number allowed;
  };

  std::uint64_t bytes = 0;           // of the file; of one that was declined, what it claims
  std::optional<Encoding> encoding;  // none when the bytes were not kept
  std::optional<std::uint64_t> ill_formed_at;  // the first byte that is no UTF-8, from 0

  // The parse proper: the library's, and the reading of its tree.
  std::optional<Spent<std::uint64_t>> operations;  // of the library's parser, by hundreds
  std::optional<Spent<std::uint64_t>> memory;      // bytes, at most at once
  std::optional<Spent<Duration>> processor_time;   // of the calling thread

  // The tree; 0 when there is none, else at least 1.
  std::uint32_t nodes = 0;
  std::uint32_t depth = 0;             // nodes on the longest way down
  std::uint32_t error_nodes = 0;       // around what the grammar has no rule for
  std::uint32_t missing_nodes = 0;     // that the parser made up to go on
  std::uint32_t error_bytes = 0;       // of the file, within error nodes
  std::uint32_t first_error_line = 0;  // of either, 1-based

  // What each step took by the clock on the wall.
  std::optional<Duration> read;
  std::optional<Duration> hash;
  std::optional<Duration> parse;  // from bytes to the tree's array
  std::optional<Duration> symbols;
  std::optional<Duration> references;
};

}  // namespace engines::treesitter
