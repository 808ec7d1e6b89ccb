// ParseReport: figures about one parse, for people who ask why a file is slow or its record odd. A
// part of treesitter.h, which includes it.
//
// TreeSitterEngine::explain fills it in while it parses. A step that a parse did not reach leaves
// its figures at none or 0.
//
// Tested by tests/report_test.cpp.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>

namespace engines::treesitter {

// What the bytes of a file look like. They are parsed as UTF-8 whatever this is.
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

  // What a guard counted, and the number at which it ends the parse. Without initialisers, on which
  // clang 14 crashes in a template within a class.
  template <typename Number>
  struct Spent {
    Number used;
    Number allowed;
  };

  std::uint64_t bytes = 0;           // of the file; of one too large, as the file system says
  std::optional<Encoding> encoding;  // none when the file was not parsed
  std::optional<std::uint64_t> ill_formed_at;  // 0-based offset of the first byte that is no UTF-8

  // The parse: the library's work, and the reading of its tree.
  std::optional<Spent<std::uint64_t>> operations;  // of the library's parser, in hundreds
  std::optional<Spent<std::uint64_t>> memory;      // bytes, the most held at once
  std::optional<Spent<Duration>> processor_time;   // of the calling thread

  // The tree. `nodes` and `depth` are 0 when there is none, else at least 1.
  std::uint32_t nodes = 0;
  std::uint32_t depth = 0;             // nodes on the longest path from the root
  std::uint32_t error_nodes = 0;       // around text that fits no rule of the grammar
  std::uint32_t missing_nodes = 0;     // inserted by the parser to go on
  std::uint32_t error_bytes = 0;       // within error nodes
  std::uint32_t first_error_line = 0;  // of the first error or missing node, 1-based; 0 for none

  // Wall-clock time of each step.
  std::optional<Duration> read;
  std::optional<Duration> hash;
  std::optional<Duration> parse;  // from bytes to the tree's array
  std::optional<Duration> symbols;
  std::optional<Duration> references;
};

}  // namespace engines::treesitter
