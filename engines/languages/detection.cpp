// Says which language a path is written in, by its last component alone.
//
// One idea: all rows of detection_table.h are laid out in two sorted tables at compile time; the
// name is looked up in the first, then its suffixes, longest first, in the second. A suffix longer
// than the longest known one is not tried, so a call costs the same for names of any length.
//
// Tested by tests/languages_test.cpp.

#include <algorithm>
#include <array>
#include <cstddef>

#include "engines/languages/detection_table.h"
#include "engines/languages/languages.h"

namespace engines::languages {
namespace {

struct Entry {
  std::string_view text;
  std::string_view language;
};

constexpr bool operator<(const Entry& left, const Entry& right) { return left.text < right.text; }

using Texts = std::span<const std::string_view> Detection::*;

template <Texts Member>
constexpr auto _sorted_entries() {
  constexpr std::size_t COUNT = [] {
    std::size_t count = 0;
    for (const Detection& row : DETECTION) count += (row.*Member).size();
    return count;
  }();
  std::array<Entry, COUNT> entries;
  std::size_t next = 0;
  for (const Detection& row : DETECTION)
    for (std::string_view text : row.*Member) entries[next++] = {text, row.language};
  std::sort(entries.begin(), entries.end());
  return entries;
}

constexpr auto FILE_NAMES = _sorted_entries<&Detection::file_names>();
constexpr auto SUFFIXES = _sorted_entries<&Detection::suffixes>();

constexpr bool _without_duplicates(std::span<const Entry> entries) {
  return std::adjacent_find(entries.begin(), entries.end(), [](const Entry& a, const Entry& b) {
           return a.text == b.text;
         }) == entries.end();
}
static_assert(_without_duplicates(FILE_NAMES) && _without_duplicates(SUFFIXES),
              "no text means two languages");

constexpr std::size_t LONGEST_SUFFIX = [] {
  std::size_t longest = 0;
  for (const Entry& entry : SUFFIXES) longest = std::max(longest, entry.text.size());
  return longest;
}();

// The language of exactly this text, or the empty text.
std::string_view _find(std::span<const Entry> entries, std::string_view text) {
  const auto found = std::lower_bound(entries.begin(), entries.end(), Entry{text, {}});
  return found != entries.end() && found->text == text ? found->language : std::string_view();
}

constexpr char _lower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; }

std::string_view _by_suffix(std::string_view name) {
  if (name.size() > LONGEST_SUFFIX) name.remove_prefix(name.size() - LONGEST_SUFFIX);
  std::array<char, LONGEST_SUFFIX> buffer;
  std::transform(name.begin(), name.end(), buffer.begin(), _lower);
  const std::string_view tail(buffer.data(), name.size());
  for (std::size_t dot = tail.find('.'); dot != tail.npos; dot = tail.find('.', dot + 1))
    if (const auto language = _find(SUFFIXES, tail.substr(dot)); !language.empty()) return language;
  return {};
}

}  // namespace

std::optional<std::string_view> detect_language(const std::filesystem::path& path) {
  std::string_view name = path.native();
  name.remove_prefix(name.rfind('/') + 1);  // npos + 1 is 0
  std::string_view language = _find(FILE_NAMES, name);
  if (language.empty()) language = _by_suffix(name);
  if (language.empty()) return std::nullopt;
  return language;
}

}  // namespace engines::languages
