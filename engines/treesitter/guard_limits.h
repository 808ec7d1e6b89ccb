// What a parse may take at most, with the calibration of each number. The guards that hold a parse
// to them: parsing/parse_meter.h, parsing/parser.cpp, parsing/guarded_grammar.h, and for what a
// result holds symbols/symbol_list.h. Hosts learn the first by build_info().
//
// Tested by tests/guards_test.cpp.
#pragma once

#include <cstddef>
#include <cstdint>

namespace engines::treesitter {

// Of 12,042 real files none needs more than 25 steps per KiB, dense legitimate text 31 to 51;
// hostile text takes 2,500 and more.
inline constexpr std::uint64_t STEPS_FLOOR = 4096;
inline constexpr std::uint64_t STEPS_PER_KIB = 256;
inline constexpr std::uint64_t OPERATIONS_PER_STEP = 100;  // of the library, between two callbacks

// For operations that are slow themselves, such as a token that is read to the end of the file and
// given up, again and again. The slowest legitimate text takes 0.3 seconds per MiB.
inline constexpr std::uint64_t SECONDS_FLOOR = 4;
inline constexpr std::uint64_t SECONDS_PER_MIB = 4;

// Nested brackets take 620 bytes per byte, the most of all legitimate text; code takes 15 to 40.
// The stack of the tree reader comes on top (parsing/tree_reader.cpp).
inline constexpr std::uint64_t MEMORY_FLOOR = 24 << 20;
inline constexpr std::uint64_t MEMORY_PER_BYTE = 704;

// What the scanners take for the library's room (cmake/scanner_prelude.h). No legitimate file comes
// near: its blocks would be nested 8,000 deep.
inline constexpr std::size_t SCANNER_STATE_BYTES = 64 * 1024;

// The most text that the symbols of one file may hold. A file of minified keys has some 30 bytes of
// signature and name for each of its own, and a megabyte of nested keys would have 28,000.
inline constexpr std::uint64_t RESULT_TEXT_FLOOR = 16 << 20;
inline constexpr std::uint64_t RESULT_TEXT_PER_BYTE = 192;

// The library counts bytes in 32 bits; larger files are refused before their size is cut to that.
inline constexpr std::uint64_t MAX_PARSED_BYTES = UINT32_MAX;

}  // namespace engines::treesitter
