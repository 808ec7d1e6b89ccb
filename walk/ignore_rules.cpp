// See ignore_rules.h.
#include "walk/ignore_rules.h"

#include <algorithm>
#include <tuple>
#include <utility>

#include "walk/wildmatch.h"

namespace walk {
namespace {

constexpr std::string_view BYTE_ORDER_MARK = "\xef\xbb\xbf";
constexpr std::size_t NONE = std::string_view::npos;

// Drops spaces from the end, up to one that a backslash protects.
std::string_view trimmed(std::string_view line) {
  std::size_t size = 0;
  for (std::size_t i = 0; i < line.size(); ++i) {
    if (line[i] == '\\') {
      ++i;
      size = std::min(i + 1, line.size());
    } else if (line[i] != ' ') {
      size = i + 1;
    }
  }
  return line.substr(0, size);
}

}  // namespace

IgnoreRules IgnoreRules::of_file(std::string text, bool folds_case) {
  IgnoreRules rules;
  rules._text = std::move(text);
  rules._folds_case = folds_case;
  std::size_t begin = rules._text.starts_with(BYTE_ORDER_MARK) ? BYTE_ORDER_MARK.size() : 0;
  while (begin < rules._text.size()) {
    const std::size_t end = std::min(rules._text.find('\n', begin), rules._text.size());
    rules.add_line(begin, end);
    begin = end + 1;
  }
  rules.seal();
  return rules;
}

IgnoreRules IgnoreRules::of_patterns(const std::vector<std::string>& patterns) {
  IgnoreRules rules;
  for (const std::string& pattern : patterns) rules._text += pattern;
  std::size_t begin = 0;
  for (const std::string& pattern : patterns) {
    rules.add(begin, begin + pattern.size());
    begin += pattern.size();
  }
  rules.seal();
  return rules;
}

void IgnoreRules::add_line(std::size_t begin, std::size_t end) {
  std::string_view line = std::string_view(_text).substr(begin, end - begin);
  if (line.starts_with('#')) return;
  if (line.ends_with('\r')) line.remove_suffix(1);
  line = line.substr(0, line.find('\0'));  // git ends a line there, too
  add(begin, begin + trimmed(line).size());
}

void IgnoreRules::add(std::size_t begin, std::size_t end) {
  Pattern pattern{};
  pattern.is_negated = begin < end && _text[begin] == '!';
  if (pattern.is_negated) ++begin;
  pattern.is_for_folders = begin < end && _text[end - 1] == '/';
  if (pattern.is_for_folders) --end;
  if (begin == end) return;
  pattern.is_path = std::string_view(_text).substr(begin, end - begin).find('/') != NONE;
  if (_text[begin] == '/') ++begin;
  const std::string_view text = std::string_view(_text).substr(begin, end - begin);
  const std::size_t literal = std::min(text.find_first_of(WILDCARDS), text.size());
  pattern.begin = static_cast<std::uint32_t>(begin);
  pattern.size = static_cast<std::uint32_t>(text.size());
  pattern.literal = static_cast<std::uint32_t>(literal);
  pattern.is_suffix =
      !pattern.is_path && text.starts_with('*') && text.find_first_of(WILDCARDS, 1) == NONE;
  if (_folds_case) fold_case(_text, begin, pattern.is_suffix ? end : begin + literal);
  const auto number = static_cast<std::uint32_t>(_patterns.size());
  const bool is_literal = literal == text.size();
  (is_literal ? pattern.is_path ? _paths : _names : _wild).push_back(number);
  _patterns.push_back(pattern);
}

std::string_view IgnoreRules::text_of(std::uint32_t number) const {
  return std::string_view(_text).substr(_patterns[number].begin, _patterns[number].size);
}

// Sorts by text and keeps the last of equal patterns, since only that one decides. Each text is
// then there twice at most: for folders, and for everything.
void IgnoreRules::sort_literals(Numbers& numbers) const {
  const auto key = [this](std::uint32_t number) {
    return std::tuple(text_of(number), _patterns[number].is_for_folders);
  };
  std::reverse(numbers.begin(), numbers.end());
  std::stable_sort(numbers.begin(), numbers.end(),
                   [&](std::uint32_t one, std::uint32_t other) { return key(one) < key(other); });
  const auto is_same = [&](std::uint32_t one, std::uint32_t other) {
    return key(one) == key(other);
  };
  numbers.erase(std::unique(numbers.begin(), numbers.end(), is_same), numbers.end());
}

void IgnoreRules::seal() {
  sort_literals(_names);
  sort_literals(_paths);
  for (const std::uint32_t number : _paths) {
    _longest_path = std::max(_longest_path, text_of(number).size());
  }
}

// The highest number of a pattern that is this text, or -1.
std::int64_t IgnoreRules::last_literal(const Numbers& numbers, std::string_view text,
                                       bool is_folder) const {
  std::int64_t last = -1;
  auto at = std::lower_bound(
      numbers.begin(), numbers.end(), text,
      [this](std::uint32_t number, std::string_view wanted) { return text_of(number) < wanted; });
  for (; at != numbers.end() && text_of(*at) == text; ++at) {
    if (is_folder || !_patterns[*at].is_for_folders) last = std::max<std::int64_t>(last, *at);
  }
  return last;
}

bool IgnoreRules::matches(const Pattern& pattern, std::string_view path,
                          std::string_view name) const {
  const auto text = std::string_view(_text).substr(pattern.begin, pattern.size);
  if (!pattern.is_path) {
    if (pattern.is_suffix) return name.ends_with(text.substr(1));
    return name.starts_with(text.substr(0, pattern.literal)) && wildmatch(text, name, _folds_case);
  }
  // The text before the first wildcard is compared apart and cut off, as git does. So the stars of
  // `a**/b` stand at the beginning and match folders.
  return path.starts_with(text.substr(0, pattern.literal)) &&
         wildmatch(text.substr(pattern.literal), path.substr(pattern.literal), _folds_case);
}

IgnoreRules::Verdict IgnoreRules::verdict(std::string_view path, bool is_folder) const {
  const std::string_view name = path.substr(path.rfind('/') + 1);
  std::int64_t last = last_literal(_names, name, is_folder);
  if (path.size() <= _longest_path) last = std::max(last, last_literal(_paths, path, is_folder));
  for (auto number = _wild.rbegin(); number != _wild.rend() && *number > last; ++number) {
    const Pattern& pattern = _patterns[*number];
    if ((is_folder || !pattern.is_for_folders) && matches(pattern, path, name)) last = *number;
  }
  if (last < 0) return Verdict::none;
  return _patterns[static_cast<std::size_t>(last)].is_negated ? Verdict::included
                                                              : Verdict::ignored;
}

}  // namespace walk
