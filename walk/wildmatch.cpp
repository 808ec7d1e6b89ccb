// See wildmatch.h.
#include "walk/wildmatch.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <optional>
#include <string>
#include <utility>

namespace walk {
namespace {

constexpr std::size_t NONE = std::string_view::npos;

constexpr bool is_between(char byte, char low, char high) {
  const auto number = [](char of) { return static_cast<unsigned char>(of); };
  return number(low) <= number(byte) && number(byte) <= number(high);
}
constexpr bool is_lower(char byte) { return is_between(byte, 'a', 'z'); }
constexpr bool is_upper(char byte) { return is_between(byte, 'A', 'Z'); }
constexpr bool is_digit(char byte) { return is_between(byte, '0', '9'); }
constexpr bool is_alpha(char byte) { return is_lower(byte) || is_upper(byte); }
constexpr bool is_alnum(char byte) { return is_alpha(byte) || is_digit(byte); }
constexpr bool is_graph(char byte) { return is_between(byte, '!', '~'); }
constexpr char to_lower(char byte) {
  return is_upper(byte) ? static_cast<char>(byte - 'A' + 'a') : byte;
}
constexpr char to_upper(char byte) {
  return is_lower(byte) ? static_cast<char>(byte - 'a' + 'A') : byte;
}

using Class = bool (*)(char);
constexpr std::array<std::pair<std::string_view, Class>, 12> CLASSES{{
    {"alnum", [](char byte) { return is_alnum(byte); }},
    {"alpha", [](char byte) { return is_alpha(byte); }},
    {"blank", [](char byte) { return byte == ' ' || byte == '\t'; }},
    {"cntrl", [](char byte) { return is_between(byte, '\0', '\x1f') || byte == '\x7f'; }},
    {"digit", [](char byte) { return is_digit(byte); }},
    {"graph", [](char byte) { return is_graph(byte); }},
    {"lower", [](char byte) { return is_lower(byte); }},
    {"print", [](char byte) { return is_between(byte, ' ', '~'); }},
    {"punct", [](char byte) { return is_graph(byte) && !is_alnum(byte); }},
    {"space",
     [](char byte) { return byte == ' ' || byte == '\t' || byte == '\n' || byte == '\r'; }},
    {"upper", [](char byte) { return is_upper(byte); }},
    {"xdigit", [](char byte) { return is_digit(byte) || is_between(to_lower(byte), 'a', 'f'); }},
}};

// Reads a set of characters. `at` is the position behind "[" at first, and behind "]" afterwards.
class Set {
 public:
  Set(std::string_view pattern, std::size_t& at, char byte, bool folds_case)
      : _pattern(pattern), _at(at), _byte(byte), _folds_case(folds_case) {}

  // Whether the set holds the byte. None when the set does not end, or names an unknown class.
  std::optional<bool> holds() {
    const bool is_negated = has() && (peek() == '!' || peek() == '^');
    if (is_negated) ++_at;
    // A "]" at the beginning is a member.
    for (bool is_first = true; is_first || (has() && peek() != ']'); is_first = false) {
      if (!has() || !read_member()) return std::nullopt;
    }
    if (!has()) return std::nullopt;
    ++_at;
    return _is_held != is_negated;
  }

 private:
  bool has() const { return _at < _pattern.size(); }
  char peek() const { return _pattern[_at]; }

  bool read_member() {
    const char byte = _pattern[_at++];
    if (byte == '[' && has() && peek() == ':') {
      const std::size_t end = _pattern.find(']', _at + 1);
      if (end == NONE) return false;
      if (end > _at + 1 && _pattern[end - 1] == ':') return read_class(end);
    }
    if (byte == '-' && _low && has() && peek() != ']') return read_range();
    return take(byte == '\\' ? escaped() : std::optional(byte));
  }

  std::optional<char> escaped() { return has() ? std::optional(_pattern[_at++]) : std::nullopt; }

  bool take(std::optional<char> member) {
    _low = member;
    _is_held |= member == _byte;
    return member.has_value();
  }

  bool read_range() {
    std::optional<char> high = _pattern[_at++];
    if (*high == '\\') high = escaped();
    if (!high) return false;
    _is_held |= is_between(_byte, *_low, *high) ||
                (_folds_case && is_between(to_upper(_byte), *_low, *high));
    _low.reset();
    return true;
  }

  bool read_class(std::size_t end) {
    const std::string_view name = _pattern.substr(_at + 1, end - _at - 2);
    _at = end + 1;
    _low.reset();
    const auto* const found = std::find_if(CLASSES.begin(), CLASSES.end(),
                                           [&](const auto& known) { return known.first == name; });
    if (found == CLASSES.end()) return false;
    _is_held |= found->second(_byte) || (_folds_case && name == "upper" && is_lower(_byte));
    return true;
  }

  const std::string_view _pattern;
  std::size_t& _at;
  const char _byte;
  const bool _folds_case;
  bool _is_held = false;
  std::optional<char> _low;  // the member before, with which a range may begin
};

class Match {
 public:
  Match(std::string_view pattern, std::string_view text, bool folds_case)
      : _pattern(pattern), _text(text), _folds_case(folds_case) {}

  bool operator()() {
    for (;;) {
      if (_at == _pattern.size()) {
        if (_in == _text.size()) return true;
      } else if (_pattern[_at] == '*') {
        if (begin_star()) return true;
        continue;
      } else if (_in < _text.size() && takes_byte()) {
        continue;
      }
      if (_is_broken || !retry()) return false;
    }
  }

 private:
  // A star to try again when what follows it does not match.
  struct Star {
    std::size_t at = NONE;  // where the pattern goes on behind it; NONE for no star
    std::size_t in = 0;     // where the text goes on behind what it matches
  };

  // Reads a run of stars. True when it matches all that is left of the text.
  bool begin_star() {
    const std::size_t begin = _at;
    _at = std::min(_pattern.find_first_not_of('*', begin), _pattern.size());
    const std::string_view rest = _pattern.substr(_at);
    const bool is_wide = _at - begin > 1 && (begin == 0 || _pattern[begin - 1] == '/');
    if (is_wide && rest.empty()) return true;
    if (is_wide && (rest.starts_with('/') || rest.starts_with("\\/"))) {
      _by_component = rest.starts_with('/');
      if (_by_component) ++_at;  // `**/` may stand for nothing
      _wide = {_at, _in};
      _star = {};
    } else {
      _star = {_at, _in};
    }
    return false;
  }

  bool takes_byte() {
    const char byte = _text[_in++];
    char wanted = _pattern[_at++];
    if (wanted == '?') return byte != '/';
    if (wanted == '[') {
      const auto is_held = Set(_pattern, _at, byte, _folds_case).holds();
      _is_broken = !is_held;
      return is_held.value_or(false) && byte != '/';
    }
    if (wanted == '\\') {
      _is_broken = _at == _pattern.size();
      return !_is_broken && byte == _pattern[_at++];
    }
    return byte == (_folds_case ? to_lower(wanted) : wanted);
  }

  // Lets the last star match more, or else the last `**`. False when neither can.
  bool retry() {
    if (_star.at != NONE && next_in_component()) {
      _at = _star.at;
      _in = _star.in;
      return true;
    }
    if (_wide.at == NONE) return false;
    _wide.in = _by_component ? _text.find('/', _wide.in) : _wide.in;
    if (_wide.in >= _text.size()) return false;
    ++_wide.in;
    _at = _wide.at;
    _in = _wide.in;
    _star = {};
    return true;
  }

  // Lets the star match more within its component, up to where the rest may match.
  bool next_in_component() {
    const std::size_t end = std::min(_text.find('/', _star.in), _text.size());
    if (_star.in == end) return false;
    ++_star.in;
    if (_star.at == _pattern.size() || _pattern[_star.at] == '/') {
      _star.in = end;
      return true;
    }
    const char wanted = _pattern[_star.at];
    if (WILDCARDS.find(wanted) != NONE) return true;
    _star.in = _text.substr(0, end).find(_folds_case ? to_lower(wanted) : wanted, _star.in);
    if (_star.in == NONE) _star = {};
    return _star.at != NONE;
  }

  const std::string_view _pattern;
  const std::string_view _text;
  const bool _folds_case;
  std::size_t _at = 0;
  std::size_t _in = 0;
  Star _star;
  Star _wide;                  // the last `**`
  bool _by_component = false;  // `**/` grows by whole components, `**` before "\/" by bytes
  bool _is_broken = false;     // the pattern is ill-formed and matches nothing
};

}  // namespace

bool wildmatch(std::string_view pattern, std::string_view text, bool folds_case) {
  return Match(pattern, text, folds_case)();
}

void fold_case(std::string& text, std::size_t begin, std::size_t end) {
  for (std::size_t i = begin; i < end; ++i) text[i] = to_lower(text[i]);
}

}  // namespace walk
