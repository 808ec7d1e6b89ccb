// Text arithmetic: every length, slice, trim and split of the engine goes through here, so that
// "character" means one code point and "whitespace" one set of 29 code points everywhere.
//
// A "text" is valid UTF-8; "bytes" are anything. Views returned point into the argument. Nothing
// here keeps state, so every function may be called from any thread.
//
// Tested by tests/text_test.cpp against tables computed by Python's str.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace engines::treesitter {

// One decoded code point of a text and the bytes that it takes (1 to 4).
struct CodePoint {
  char32_t value;
  std::size_t size;
};

// The code point at `offset`, which must be the start of one.
CodePoint code_point_at(std::string_view text, std::size_t offset);

bool is_ascii(std::string_view bytes);

inline constexpr std::string_view HEXADECIMAL_DIGITS = "0123456789abcdef";

// Exactly U+0009-000D, U+001C-001F, U+0020, U+0085, U+00A0, U+1680, U+2000-200A, U+2028, U+2029,
// U+202F, U+205F and U+3000. Not what ICU or PCRE2 call whitespace: both leave U+001C-001F out.
bool is_whitespace(char32_t value);

// Without the whitespace at both ends, or at one.
std::string_view trim(std::string_view text);
std::string_view trim_start(std::string_view text);
std::string_view trim_end(std::string_view text);

// The number of code points. `at_most` stops the count early: the answer is then min(count,
// at_most), which keeps a question about a cap independent of the text's length.
std::size_t length(std::string_view text, std::size_t at_most = SIZE_MAX);

// The first `count` code points, or the whole text when it has fewer.
std::string_view first(std::string_view text, std::size_t count);

// The pieces between the separators: n separators give n + 1 pieces.
std::vector<std::string_view> split(std::string_view text, char separator);

// The runs that are not whitespace.
std::vector<std::string_view> split_whitespace(std::string_view text);

// The last code point of a text that is not empty.
char32_t last_code_point(std::string_view text);

// At least one character with the property Uppercase, none with Lowercase and none in title case.
// The properties, not the general categories: the Roman numeral of "A_Ⅷ" is upper case.
bool is_upper(std::string_view text);

// Letters, numbers and the underscore: the word characters of regular expressions.
bool is_word(char32_t value);

// Neither a control, a format, private or unassigned character, nor whitespace other than U+0020:
// what can be shown as it is in a text of one line.
bool is_printable(char32_t value);

// The version of Unicode by which all of this goes, such as "15.0": that of the loaded library.
std::string unicode_version();

// Where ill-formed UTF-8 begins in `bytes` at or after `offset`, and how long the maximal
// ill-formed subpart is: the longest start of a well-formed sequence, or else one byte.
// `size` is 0 and `offset` the length of `bytes` when the rest is well formed. Looks at no
// character that begins at `until` or later: `offset` is then where it stopped.
struct IllFormed {
  std::size_t offset;
  std::size_t size;
};
IllFormed find_ill_formed(std::string_view bytes, std::size_t offset = 0,
                          std::size_t until = SIZE_MAX);

// The bytes as text, with one U+FFFD for each maximal ill-formed subpart. Never fails.
std::string decode_replacing(std::string_view bytes);

// Throws Utf8Error (treesitter.h) for bytes that are not well formed.
void require_utf8(std::string_view bytes);

}  // namespace engines::treesitter
