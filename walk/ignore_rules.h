// The patterns of one ignore file, in git's syntax, and what they say about a path.
//
// Cost: memory of the file's text and 20 bytes for each pattern. For each path a binary search
// among the patterns without wildcards; then those with wildcards are tried from the last one up,
// until one matches or the patterns left stand above the one found.
//
// Tested by tests/walk_test.cpp, and by tests/ignore_parity_test.py against git itself.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace walk {

class IgnoreRules {
 public:
  enum class Verdict : std::uint8_t { none, ignored, included };

  IgnoreRules() = default;  // no patterns

  // `text`: the content of an ignore file, less than 4 GiB. `folds_case`: ASCII letters match
  // whatever their case.
  static IgnoreRules of_file(std::string text, bool folds_case);

  // Each text is one pattern as it stands: `#` begins no comment, and spaces at the end count.
  static IgnoreRules of_patterns(const std::vector<std::string>& patterns);

  bool is_empty() const { return _patterns.empty(); }

  // What the last pattern that matches says. `path`: relative to the folder of the ignore file,
  // without "/" at either end, and in lower case if these rules fold case.
  Verdict verdict(std::string_view path, bool is_folder) const;

 private:
  struct Pattern {
    std::uint32_t begin;    // in _text
    std::uint32_t size;     // without the slashes at both ends
    std::uint32_t literal;  // how many bytes stand before the first wildcard
    bool is_negated;
    bool is_for_folders;
    bool is_path;    // matched with the whole path; otherwise with the name alone
    bool is_suffix;  // "*" and then no wildcard
  };
  using Numbers = std::vector<std::uint32_t>;  // of patterns, in the order of the file

  void add_line(std::size_t begin, std::size_t end);
  void add(std::size_t begin, std::size_t end);
  void seal();
  void sort_literals(Numbers& numbers) const;
  std::string_view text_of(std::uint32_t number) const;
  std::int64_t last_literal(const Numbers& numbers, std::string_view text, bool is_folder) const;
  bool matches(const Pattern& pattern, std::string_view path, std::string_view name) const;

  std::string _text;
  bool _folds_case = false;
  std::vector<Pattern> _patterns;
  Numbers _names;                 // patterns for names, without wildcards; sorted by text
  Numbers _paths;                 // patterns for paths, without wildcards; sorted by text
  Numbers _wild;                  // patterns with wildcards, rising
  std::size_t _longest_path = 0;  // the bytes of the longest of _paths
};

}  // namespace walk
