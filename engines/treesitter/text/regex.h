// Regex: a compiled pattern, which is immutable, so any thread may search with it. No other file
// includes PCRE2.
//
// Tested by tests/regex_test.cpp.
#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace engines::treesitter {

class Regex {
 public:
  // `pattern` is UTF-8 in PCRE2's syntax, without flags. Throws std::logic_error for a faulty one.
  explicit Regex(std::string_view pattern);
  ~Regex();
  Regex(const Regex&) = delete;
  Regex& operator=(const Regex&) = delete;

  // The offset in bytes at which the leftmost match in `text` ends, or none. `text` must be valid
  // UTF-8. Throws std::runtime_error when one of PCRE2's limits ends the search, which is not the
  // same as no match.
  std::optional<std::size_t> find_end(std::string_view text) const;

 private:
  struct Code;
  std::unique_ptr<Code> _code;
};

// The version of Unicode by which patterns class characters, such as "14.0.0".
std::string regex_unicode_version();

// Matches control flow or a call: one of 26 keywords as a whole word, or a word before an opening
// parenthesis. A body digest keeps the lines with a match.
extern const Regex _BODY_DIGEST_RE;  // NOLINT(bugprone-reserved-identifier): the constant's name

// The offset at which the leftmost match of _BODY_DIGEST_RE in `text` ends, or none. ASCII text,
// which is nearly all text, is scanned by hand.
std::optional<std::size_t> find_logic_end(std::string_view text);

// Whether `text` is one of the 26 keywords, and the length of the longest.
inline constexpr std::size_t LONGEST_KEYWORD = 8;
bool is_logic_keyword(std::string_view text);

}  // namespace engines::treesitter
