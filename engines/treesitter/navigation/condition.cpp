// See condition.h.
#include "engines/treesitter/navigation/condition.h"

#include <algorithm>
#include <optional>

#include "engines/treesitter/text/text.h"

namespace engines::treesitter {
namespace {

// Whether the text begins with the mark, which is removed then.
bool take(std::string_view& text, char mark) {
  if (!text.starts_with(mark)) return false;
  text.remove_prefix(1);
  return true;
}

// Only ASCII letters count.
bool is_all_upper_case(std::string_view text) {
  const auto has_between = [&](char first, char last) {
    return std::any_of(text.begin(), text.end(), [&](char c) { return first <= c && c <= last; });
  };
  return has_between('A', 'Z') && !has_between('a', 'z');
}

// All characters outside ASCII count as letters.
bool is_name(std::string_view text) {
  return !text.empty() && std::all_of(text.begin(), text.end(), [](char c) {
    return c == '.' || c == '_' || ('0' <= c && c <= '9') || ('a' <= c && c <= 'z') ||
           ('A' <= c && c <= 'Z') || (c & 0x80) != 0;
  });
}

}  // namespace

Conditions::Conditions(const languages::Language& language, std::string_view text) {
  for (const std::string_view each : split(text, ';')) {
    if (!trim(each).empty()) _conditions.emplace_back(language, trim(each));
  }
}

bool Conditions::all_hold(const Node& node) const {
  return std::all_of(_conditions.begin(), _conditions.end(),
                     [&](const Condition& condition) { return condition.holds(node); });
}

Conditions::Condition::Condition(const languages::Language& language, std::string_view text)
    : is_absence(take(text, '!')) {
  while (take(text, '^')) ++levels_up;
  const std::size_t end = std::min(text.find_first_of(":=~"), text.size());
  path = Path(language, end == 0 ? "." : text.substr(0, end));
  asks_type = end < text.size() && text[end] == ':';
  const std::string_view values = text.substr(std::min(end + 1, text.size()));
  if (asks_type) {
    types = SymbolSet(language, values);
  } else if (end < text.size() && text[end] == '~') {
    shape = trim(values) == "upper" ? is_all_upper_case : is_name;
  } else {
    texts = split_whitespace(values);
  }
}

bool Conditions::Condition::holds(const Node& node) const {
  std::optional<Node> asked = node;
  for (int i = 0; i < levels_up && asked; ++i) asked = asked->parent();
  const std::optional<Node> found = asked ? path.in(*asked) : std::nullopt;
  const bool is_there = found && (!asks_type || types.contains(found->symbol())) &&
                        (texts.empty() || is_one_of(found->bytes(), texts)) &&
                        (shape == nullptr || shape(found->bytes()));
  return is_there != is_absence;
}

}  // namespace engines::treesitter
