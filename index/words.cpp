// See words.h.
#include "index/words.h"

#include <algorithm>

namespace repository {
namespace {

enum class Letter { none, lower, upper, digit };

// All characters outside ASCII count as letters without upper case.
Letter letter_of(char byte) {
  if (byte >= 'A' && byte <= 'Z') return Letter::upper;
  if (byte >= '0' && byte <= '9') return Letter::digit;
  if ((byte >= 'a' && byte <= 'z') || static_cast<signed char>(byte) < 0) return Letter::lower;
  return Letter::none;
}

}  // namespace

std::string words_of(std::string_view name) {
  std::string words;
  for (std::size_t i = 0; i < name.size(); ++i) {
    const Letter letter = letter_of(name[i]);
    const Letter before = i == 0 ? letter : letter_of(name[i - 1]);
    const Letter after = i + 1 == name.size() ? Letter::none : letter_of(name[i + 1]);
    const bool is_hump =
        letter == Letter::upper &&
        (before == Letter::lower || (before == Letter::upper && after == Letter::lower));
    const bool is_number = (letter == Letter::digit) != (before == Letter::digit);
    if (is_hump || is_number) words.push_back(' ');
    words.push_back(letter == Letter::none ? ' ' : name[i]);
  }
  return words;
}

std::vector<std::string> words_in(std::string_view text) {
  const auto is_part = [](char byte) { return letter_of(byte) != Letter::none; };
  std::vector<std::string> words;
  for (auto at = text.begin(); at != text.end();) {
    const auto begin = std::find_if(at, text.end(), is_part);
    at = std::find_if_not(begin, text.end(), is_part);
    if (begin != at) words.emplace_back(begin, at);
  }
  return words;
}

std::string all_of(const std::vector<std::string>& texts, std::string_view behind_each) {
  std::string expression;
  for (const std::string& text : texts) {
    if (!expression.empty()) expression += " AND ";
    expression += '"';
    for (const char character : text) {
      if (character == '"') expression += '"';
      expression += character;
    }
    expression.append("\"").append(behind_each);
  }
  return expression;
}

std::string folded(std::string_view text) {
  std::string lower(text);
  std::transform(lower.begin(), lower.end(), lower.begin(), [](char letter) {
    return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
  });
  return lower;
}

}  // namespace repository
