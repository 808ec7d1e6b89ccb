// Finds the language of a file by the last component of its path.
//
// The whole name is looked up first, then the suffix from each full stop on, from left to right, so
// that the longest suffix in the lists decides. No more bytes from the end are looked at than the
// longest suffix has, so the cost does not depend on the length of the name, once the last
// separator is found. Nothing is allocated.
//
// Tested by tests/detection_test.cpp.
#include <algorithm>
#include <array>
#include <cstddef>
#include <span>

#include "engines/languages/detection_table.h"
#include "engines/languages/languages.h"

namespace engines::languages {
namespace {

constexpr char lower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

constexpr bool is_suffix(std::string_view text) {
  return text.starts_with('.') &&
         std::all_of(text.begin(), text.end(), [](char c) { return c == lower(c); });
}

static_assert(std::all_of(DETECTION.begin(), DETECTION.end(),
                          [](const Detection& row) {
                            return std::is_sorted(row.file_names.begin(), row.file_names.end()) &&
                                   std::is_sorted(row.suffixes.begin(), row.suffixes.end()) &&
                                   std::all_of(row.suffixes.begin(), row.suffixes.end(), is_suffix);
                          }),
              "lists are sorted; suffixes begin with a full stop and are in lower case");

constexpr std::size_t LONGEST_SUFFIX = [] {
  std::size_t longest = 0;
  for (const Detection& row : DETECTION) {
    for (const std::string_view suffix : row.suffixes) longest = std::max(longest, suffix.size());
  }
  return longest;
}();

// The file names, or the suffixes, of all languages in one list: a look-up is then one bisection
// and not sixteen.
struct Known {
  std::string_view text;
  std::string_view language;
};

template <std::span<const std::string_view> Detection::*LIST>
constexpr auto ALL_OF = [] {
  constexpr std::size_t SIZE = [] {
    std::size_t size = 0;
    for (const Detection& row : DETECTION) size += (row.*LIST).size();
    return size;
  }();
  std::array<Known, SIZE> all;
  std::size_t size = 0;
  for (const Detection& row : DETECTION) {
    for (const std::string_view text : row.*LIST) all[size++] = {text, row.language};
  }
  std::sort(all.begin(), all.end(),
            [](const Known& one, const Known& other) { return one.text < other.text; });
  return all;
}();

template <std::span<const std::string_view> Detection::*LIST>
std::optional<DetectedLanguage> find(std::string_view text) {
  const auto& all = ALL_OF<LIST>;
  const auto* const at = std::lower_bound(
      all.begin(), all.end(), text,
      [](const Known& known, std::string_view wanted) { return known.text < wanted; });
  if (at == all.end() || at->text != text) return std::nullopt;
  return DetectedLanguage{at->language, at->text, LIST == &Detection::file_names};
}

std::optional<DetectedLanguage> by_suffix(std::string_view name) {
  if (name.size() > LONGEST_SUFFIX) name.remove_prefix(name.size() - LONGEST_SUFFIX);
  std::array<char, LONGEST_SUFFIX> lowered;
  std::transform(name.begin(), name.end(), lowered.begin(), lower);
  const std::string_view end(lowered.data(), name.size());
  for (std::size_t dot = end.find('.'); dot != end.npos; dot = end.find('.', dot + 1)) {
    if (const auto found = find<&Detection::suffixes>(end.substr(dot))) return found;
  }
  return std::nullopt;
}

}  // namespace

std::optional<DetectedLanguage> explain_detection(const std::filesystem::path& path) {
  std::string_view name = path.native();
  name.remove_prefix(name.rfind('/') + 1);  // npos + 1 is 0: a path without a separator
  const auto found = find<&Detection::file_names>(name);
  return found ? found : by_suffix(name);
}

std::optional<std::string_view> detect_language(const std::filesystem::path& path) {
  const auto found = explain_detection(path);
  return found ? std::optional(found->language) : std::nullopt;
}

}  // namespace engines::languages
