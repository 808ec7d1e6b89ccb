// Regex: a compiled pattern, immutable and searched from any thread. The door of PCRE2.
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

  // Where the leftmost match in `text` ends, in bytes, or none. `text` must be valid UTF-8. Throws
  // std::runtime_error when a resource limit ends the search, which must never read as «not found».
  std::optional<std::size_t> find_end(std::string_view text) const;

 private:
  struct Code;
  std::unique_ptr<Code> _code;
};

// The version of Unicode by which patterns class characters, such as "14.0.0".
std::string regex_unicode_version();

// Control flow or a call: one of 26 keywords as a whole word, or a word before an opening
// parenthesis. What a body digest keeps of a function is the lines in which it is found.
extern const Regex _BODY_DIGEST_RE;  // NOLINT(bugprone-reserved-identifier): the constant's name

// Where the leftmost match of _BODY_DIGEST_RE in `text` ends, or none; an own scan for ASCII text,
// which is nearly all text, and _BODY_DIGEST_RE for the rest.
std::optional<std::size_t> find_logic_end(std::string_view text);

// Whether `text` is one of the 26 keywords, of which none is longer than eight letters.
inline constexpr std::size_t LONGEST_KEYWORD = 8;
bool is_logic_keyword(std::string_view text);

}  // namespace engines::treesitter
