// See suggestion.h.
#include "tool/suggestion.h"

#include <algorithm>
#include <optional>
#include <utility>
#include <vector>

#include "walk/wildmatch.h"

namespace tool {
namespace {

// In bytes, of what a user typed. Longer words get no suggestion, since the cost grows with them.
constexpr std::size_t LONGEST = 40;

// How many letters have to be changed, added, left out or swapped with the next one to turn one
// word into the other.
std::size_t distance(std::string_view one, std::string_view other) {
  std::vector<std::size_t> before;  // the row before the previous one
  std::vector<std::size_t> previous;
  std::vector<std::size_t> row(other.size() + 1);
  for (std::size_t i = 0; i <= other.size(); ++i) row[i] = i;
  for (std::size_t i = 1; i <= one.size(); ++i) {
    before = std::exchange(previous, row);
    row[0] = i;
    for (std::size_t k = 1; k <= other.size(); ++k) {
      const std::size_t change = previous[k - 1] + (one[i - 1] == other[k - 1] ? 0 : 1);
      row[k] = std::min({change, previous[k] + 1, row[k - 1] + 1});
      if (i > 1 && k > 1 && one[i - 1] == other[k - 2] && one[i - 2] == other[k - 1]) {
        row[k] = std::min(row[k], before[k - 2] + 1);
      }
    }
  }
  return row.back();
}

std::optional<std::string> nearest(std::string_view word, std::span<const std::string> words) {
  if (word.size() < 2 || word.size() > LONGEST) return std::nullopt;
  const std::string typed = lower_case(word);
  std::size_t least = std::max<std::size_t>(1, word.size() / 3) + 1;
  std::optional<std::string> found;
  for (const std::string& candidate : words) {
    const std::size_t steps = candidate.starts_with(typed) ? 1 : distance(typed, candidate);
    if (steps >= least) continue;
    least = steps;
    found = candidate;
  }
  return found;
}

}  // namespace

std::string suggestion(std::string_view word, std::span<const std::string> words) {
  const auto meant = nearest(word, words);
  return meant ? "; did you mean '" + *meant + "'?" : "";
}

std::string lower_case(std::string_view text) {
  std::string lower(text);
  walk::fold_case(lower, 0, lower.size());
  return lower;
}

}  // namespace tool
