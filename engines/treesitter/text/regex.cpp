// The door of PCRE2, and the expression that finds the lines of a body digest.
//
// Costs: the compiled expression reads about 1 GB/s with PCRE2's just-in-time compiler and a tenth
// of that without; the scan by hand beside it, for ASCII text, is several times as fast and makes
// no allocation. Both are proven equal in tests/regex_test.cpp on generated lines.
#include "engines/treesitter/text/regex.h"

#define PCRE2_CODE_UNIT_WIDTH 8
#include <pcre2.h>

#include <algorithm>
#include <array>
#include <new>
#include <stdexcept>
#include <string>

#include "engines/treesitter/text/text.h"

namespace engines::treesitter {
namespace {

constexpr std::array<std::string_view, 26> KEYWORDS = {
    "if",     "elif",   "else",  "for",     "while",  "do",     "switch",   "case",  "match",
    "try",    "except", "catch", "finally", "with",   "return", "yield",    "raise", "throw",
    "assert", "await",  "defer", "go",      "select", "break",  "continue", "guard",
};
constexpr std::size_t SHORTEST_KEYWORD = 2;

// The expression is \b(if|elif|…)\b|\w+\s*\( with the classes written out: PCRE2's own \s lacks
// U+001C-001F, and what its \w holds has changed between releases. One word character before the
// parenthesis stands for the run of them: it is found in the same texts and ends at the same place,
// and \w+ would read a word of n characters n times over.
std::string digest_pattern() {
  const std::string word = "[\\p{L}\\p{N}_]";
  const std::string space =
      "[\\x{09}-\\x{0D}\\x{1C}-\\x{20}\\x{85}\\x{A0}\\x{1680}\\x{2000}-\\x{200A}"
      "\\x{2028}\\x{2029}\\x{202F}\\x{205F}\\x{3000}]";
  std::string pattern = "(?<!" + word + ")(?:";
  for (const std::string_view keyword : KEYWORDS) pattern.append(keyword).append("|");
  pattern.back() = ')';
  return pattern + "(?!" + word + ")|" + word + space + "*+\\(";
}

// As found by is_word and is_whitespace, for ASCII.
enum class CharClass : unsigned char { other, word, space, parenthesis };

constexpr std::array<CharClass, 128> ascii_classes() {
  std::array<CharClass, 128> classes{};
  for (std::size_t c = 0; c < classes.size(); ++c) {
    const bool letter = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
    if (letter || (c >= '0' && c <= '9') || c == '_') classes[c] = CharClass::word;
    if ((c >= 0x09 && c <= 0x0D) || (c >= 0x1C && c <= 0x20)) classes[c] = CharClass::space;
  }
  classes['('] = CharClass::parenthesis;
  return classes;
}

constexpr auto ASCII_CLASSES = ascii_classes();

CharClass class_at(std::string_view text, std::size_t offset) {
  return ASCII_CLASSES[static_cast<unsigned char>(text[offset])];
}

std::optional<std::size_t> find_logic_end_ascii(std::string_view text) {
  std::size_t offset = 0;
  while (offset < text.size()) {
    if (class_at(text, offset) != CharClass::word) {
      ++offset;
      continue;
    }
    const std::size_t begin = offset;
    while (offset < text.size() && class_at(text, offset) == CharClass::word) ++offset;
    if (is_logic_keyword(text.substr(begin, offset - begin))) return offset;
    while (offset < text.size() && class_at(text, offset) == CharClass::space) ++offset;
    if (offset < text.size() && class_at(text, offset) == CharClass::parenthesis) return offset + 1;
  }
  return std::nullopt;
}

struct FreeMatchData {
  void operator()(pcre2_match_data* data) const { pcre2_match_data_free(data); }
};

}  // namespace

struct Regex::Code {
  pcre2_code* compiled;
};

Regex::Regex(std::string_view pattern) {
  int error = 0;
  PCRE2_SIZE offset = 0;
  pcre2_code* compiled =
      pcre2_compile(reinterpret_cast<PCRE2_SPTR>(pattern.data()), pattern.size(),
                    PCRE2_UTF | PCRE2_UCP | PCRE2_NEVER_BACKSLASH_C, &error, &offset, nullptr);
  if (compiled == nullptr) {
    throw std::logic_error("faulty pattern at offset " + std::to_string(offset));
  }
  // Without a just-in-time compiler on this platform the search is slower and just as right.
  pcre2_jit_compile(compiled, PCRE2_JIT_COMPLETE);
  _code.reset(new Code{compiled});
}

Regex::~Regex() { pcre2_code_free(_code->compiled); }

std::optional<std::size_t> Regex::find_end(std::string_view text) const {
  const std::unique_ptr<pcre2_match_data, FreeMatchData> data(pcre2_match_data_create(1, nullptr));
  if (!data) throw std::bad_alloc();
  const int found = pcre2_match(_code->compiled, reinterpret_cast<PCRE2_SPTR>(text.data()),
                                text.size(), 0, PCRE2_NO_UTF_CHECK, data.get(), nullptr);
  if (found == PCRE2_ERROR_NOMATCH) return std::nullopt;
  if (found < 0)
    throw std::runtime_error("search failed with PCRE2 error " + std::to_string(found));
  return pcre2_get_ovector_pointer(data.get())[1];
}

std::string regex_unicode_version() {
  std::array<char, 32> version{};  // 24 are enough for any
  pcre2_config(PCRE2_CONFIG_UNICODE_VERSION, version.data());
  return version.data();
}

const Regex _BODY_DIGEST_RE(digest_pattern());  // NOLINT(bugprone-reserved-identifier)

bool is_logic_keyword(std::string_view text) {
  if (text.size() < SHORTEST_KEYWORD || text.size() > LONGEST_KEYWORD) return false;
  return std::find(KEYWORDS.begin(), KEYWORDS.end(), text) != KEYWORDS.end();
}

std::optional<std::size_t> find_logic_end(std::string_view text) {
  return is_ascii(text) ? find_logic_end_ascii(text) : _BODY_DIGEST_RE.find_end(text);
}

}  // namespace engines::treesitter
