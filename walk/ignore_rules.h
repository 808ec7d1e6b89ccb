// The patterns of one ignore file, in git's syntax, and what they say of a path.
//
// Cost: the file's text and 16 bytes for each pattern. A path is looked up among the patterns
// without wildcards, and compared with each of the others from the last to the first that matches.
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

  IgnoreRules() = default;  // none

  // The lines of an ignore file, of less than 4 GiB. `folds_case`: upper and lower case of ASCII
  // letters are alike.
  static IgnoreRules of_file(std::string text, bool folds_case);

  // Each a pattern as it is: no comment, and with its spaces at the end.
  static IgnoreRules of_patterns(const std::vector<std::string>& patterns);

  bool is_empty() const { return _patterns.empty(); }

  // What the last pattern that matches says. `path`: from the folder of the file, without a "/" at
  // either end, and in lower case where case is folded.
  Verdict verdict(std::string_view path, bool is_folder) const;

 private:
  struct Pattern {
    std::uint32_t begin;    // in _text
    std::uint32_t size;     // without the slashes at its ends
    std::uint32_t literal;  // so much of it stands in front of the first wildcard
    bool is_negated;
    bool is_for_folders;
    bool is_path;    // otherwise it is compared with the name alone
    bool is_suffix;  // "*" and a text
  };
  using Numbers = std::vector<std::uint32_t>;

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
  // Numbers of patterns: without wildcards sorted by text, with them in order.
  Numbers _names;
  Numbers _paths;
  Numbers _wild;
  std::size_t _longest_path = 0;  // of _paths
};

}  // namespace walk
