// See regex.h.
//
// The expression reads about 1 GB/s with PCRE2's just-in-time compiler, and a tenth of that
// without. The scan by hand for ASCII text is several times as fast and allocates nothing.
// tests/regex_test.cpp compares the two on generated lines.
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

constexpr auto KEYWORDS = std::to_array<std::string_view>({
    "if",     "elif",   "else",  "for",     "while",  "do",     "switch",   "case",  "match",
    "try",    "except", "catch", "finally", "with",   "return", "yield",    "raise", "throw",
    "assert", "await",  "defer", "go",      "select", "break",  "continue", "guard",
});
constexpr std::size_t SHORTEST_KEYWORD = 2;
static_assert(std::all_of(KEYWORDS.begin(), KEYWORDS.end(), [](std::string_view keyword) {
  return keyword.size() >= SHORTEST_KEYWORD && keyword.size() <= LONGEST_KEYWORD;
}));

// The expression is \b(if|elif|…)\b|\w+\s*\( with its classes written out: PCRE2's \s lacks
// U+001C-001F, and its \w has changed between releases. Only one word character is asked for before
// the parenthesis. That matches in the same texts and ends at the same place, while \w+ would read
// a word of n characters n times.
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

// The classes of ASCII characters, as is_word and is_whitespace have them.
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
  // Where PCRE2 has no just-in-time compiler, the search is slower.
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
  if (found < 0) {
    throw std::runtime_error("search failed with PCRE2 error " + std::to_string(found));
  }
  return pcre2_get_ovector_pointer(data.get())[1];
}

std::string regex_unicode_version() {
  std::array<char, 32> version{};  // PCRE2 needs 24 at most
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
