// Text arithmetic. All code of the engine takes lengths, slices, trims and splits from here, so
// that a character is one code point everywhere and whitespace is the same set of 29 code points.
//
// A `text` is valid UTF-8, `bytes` may be anything. Returned views point into the argument. The
// functions keep no state, so any thread may call them.
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

// The code point that begins at `offset`.
CodePoint code_point_at(std::string_view text, std::size_t offset);

bool is_ascii(std::string_view bytes);

inline constexpr std::string_view HEXADECIMAL_DIGITS = "0123456789abcdef";

// Exactly U+0009-000D, U+001C-001F, U+0020, U+0085, U+00A0, U+1680, U+2000-200A, U+2028, U+2029,
// U+202F, U+205F and U+3000. Unicode's property White_Space and PCRE2's \s lack U+001C-001F.
bool is_whitespace(char32_t value);

// The text without the whitespace at both ends, or at one of them.
std::string_view trim(std::string_view text);
std::string_view trim_start(std::string_view text);
std::string_view trim_end(std::string_view text);

// The number of code points, or `at_most` if there are more. With `at_most`, a long text costs no
// more than a short one.
std::size_t length(std::string_view text, std::size_t at_most = SIZE_MAX);

// The first `count` code points; the whole text if it has fewer.
std::string_view first(std::string_view text, std::size_t count);

// The pieces between the separators: n separators give n + 1 pieces.
std::vector<std::string_view> split(std::string_view text, char separator);

// The runs that are not whitespace.
std::vector<std::string_view> split_whitespace(std::string_view text);

// The last code point of a text that is not empty.
char32_t last_code_point(std::string_view text);

// Whether at least one character has the property Uppercase, none has Lowercase and none is in
// title case. These properties are wider than the general categories: the Roman numeral of "A_Ⅷ"
// has Uppercase.
bool is_upper(std::string_view text);

// Whether it is a letter, a number or the underscore: a word character of regular expressions.
bool is_word(char32_t value);

// Whether it can be shown as it is in a text of one line: it is no control, format, private or
// unassigned character, and no whitespace but U+0020.
bool is_printable(char32_t value);

// The version of Unicode that these functions follow, such as "15.0": that of the loaded ICU.
std::string unicode_version();

// The first ill-formed UTF-8 in `bytes` at or after `offset`: its offset, and the size of the
// maximal ill-formed subpart, which is the longest start of a well-formed sequence, or else one
// byte. When there is none before `until` or the end, `size` is 0 and `offset` is where the search
// stopped.
struct IllFormed {
  std::size_t offset;
  std::size_t size;
};
IllFormed find_ill_formed(std::string_view bytes, std::size_t offset = 0,
                          std::size_t until = SIZE_MAX);

// The bytes as a text, with one U+FFFD for each maximal ill-formed subpart.
std::string decode_replacing(std::string_view bytes);

// Throws Utf8Error (treesitter.h) for bytes that are not well formed.
void require_utf8(std::string_view bytes);

}  // namespace engines::treesitter
