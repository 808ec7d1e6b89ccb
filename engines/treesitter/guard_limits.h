// The limits of one parse, and the measurements behind each number. They are enforced by
// parsing/parse_meter.h, parsing/parser.cpp and parsing/guarded_grammar.h; those of a result's text
// by symbols/symbol_list.h. build_info() gives them to hosts, but for that of a result's text.
//
// Tested by tests/guards_test.cpp.
#pragma once

#include <cstddef>
#include <cstdint>

#include "cmake/scanner_state.h"

namespace engines::treesitter {

// No file of 12,042 real ones needs more than 25 steps per KiB. Dense legitimate text needs 31 to
// 51, hostile text 2,500 and more.
inline constexpr std::uint64_t STEPS_FLOOR = 4096;
inline constexpr std::uint64_t STEPS_PER_KIB = 256;
inline constexpr std::uint64_t OPERATIONS_PER_STEP = 100;  // of the library, between two callbacks

// Against single operations that are slow, such as a token that is read to the end of the file and
// given up, again and again. The slowest legitimate text takes 0.3 seconds per MiB.
inline constexpr std::uint64_t SECONDS_FLOOR = 4;
inline constexpr std::uint64_t SECONDS_PER_MIB = 4;

// Nested brackets take 620 bytes per byte, the most of all legitimate text; code takes 15 to 40.
// The stack of the tree reader comes on top (parsing/tree_reader.cpp).
inline constexpr std::uint64_t MEMORY_FLOOR = 24 << 20;
inline constexpr std::uint64_t MEMORY_PER_BYTE = 704;

// The room for one saved state of a scanner. A legitimate file comes nowhere near: its blocks would
// be nested 8,000 deep.
inline constexpr std::size_t SCANNER_STATE_BYTES = TREESITTER_ENGINE_SCANNER_STATE_BYTES;

// The most bytes of text in the symbols of one file. Minified keys have some 30 bytes of signatures
// and names for each byte of the file; a megabyte of nested keys would have 28,000.
inline constexpr std::uint64_t RESULT_TEXT_FLOOR = 16 << 20;
inline constexpr std::uint64_t RESULT_TEXT_PER_BYTE = 192;

// The library counts bytes in 32 bits; larger files are refused before their size is cut to that.
inline constexpr std::uint64_t MAX_PARSED_BYTES = UINT32_MAX;

}  // namespace engines::treesitter
