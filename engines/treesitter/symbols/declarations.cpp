// See declarations.h.
#include "engines/treesitter/symbols/declarations.h"

#include <algorithm>

namespace engines::treesitter {
namespace {

struct AroundRow {
  std::string_view text;
  Around around;
};
constexpr AroundRow AROUND_ROWS[] = {
    {"file", Around::file}, {"type", Around::type}, {"value", Around::value}};

// The place without the sign for several names, if it has one.
std::string_view without_quantity(std::string_view name) {
  return name.starts_with('+') || name.starts_with('*') ? name.substr(1) : name;
}

}  // namespace

Around around_within(std::string_view kind) {
  if (kind == "module") return Around::file;
  if (kind == "class" || kind == "interface" || kind == "enum" || kind == "type") {
    return Around::type;
  }
  return Around::value;
}

Declaration::Declaration(const languages::Language& language, const DeclarationRow& row)
    : _row(&row),
      _name(language, without_quantity(row.name)),
      _owner(language, row.terms.owner),
      _each(language, row.terms.each),
      _takes_all(without_quantity(row.name) != row.name),
      _conditions(language, row.terms.when),
      _words(split_whitespace(row.terms.words)) {
  const std::vector<std::string_view> around = split_whitespace(row.terms.around);
  for (const AroundRow& each : AROUND_ROWS) {
    if (around.empty() || is_one_of(each.text, around)) {
      _around |= static_cast<std::uint8_t>(each.around);
    }
  }
}

bool Declaration::holds(const Node& node, Around around, const Holders& holders) const {
  if ((_around & static_cast<std::uint8_t>(around)) == 0) return false;
  if (!_conditions.hold(node)) return false;
  if (_words.empty()) return true;
  const Node holder = holders.of(node);
  return std::all_of(_words.begin(), _words.end(),
                     [&](std::string_view word) { return holders.has_modifier(holder, word); });
}

std::vector<Node> Declaration::names(const Node& node, const OwnNames& own) const {
  std::vector<Node> names;
  const auto add = [&](const Node& place) {
    if (is_whole_name()) {
      names.push_back(place);
    } else if (const auto carrier = own.carrier(place);
               carrier && carrier->bytes() != _row->terms.blank) {
      names.push_back(*carrier);
    }
  };
  if (!_each.empty()) {
    const std::optional<Node> list = _name.in(node);
    return list ? names_in(*list, own) : names;
  }
  if (_takes_all) {
    for (const Node child : node.children()) {
      if (child.is_named() && _name.last().holds(child)) add(child);
    }
  } else if (const auto place = _name.in(node)) {
    add(*place);
  }
  return names;
}

// A child without a name is a list too, such as a pattern within a pattern. Visits each node of the
// lists once.
std::vector<Node> Declaration::names_in(const Node& list, const OwnNames& own) const {
  std::vector<Node> names;
  std::vector<Node> lists = {list};
  while (!lists.empty()) {
    const Node inner = lists.back();
    lists.pop_back();
    for (const Node child : inner.children()) {
      if (!_each.contains(child.symbol())) continue;
      const Node end = is_whole_name() ? child : own.end(child);
      (is_whole_name() || own.is_carrier(end.symbol()) ? names : lists).push_back(end);
    }
  }
  std::sort(names.begin(), names.end(),
            [](const Node& a, const Node& b) { return a.index() < b.index(); });
  return names;
}

std::optional<Node> Declaration::owner(const Node& node, const OwnNames& own) const {
  const std::optional<Node> place = _owner.in(node);
  return place ? own.carrier(*place) : std::nullopt;
}

Declarations::Declarations(const languages::Language& language)
    : _own_names(language), _holders(language), _rows(language), _concerned(language) {
  for (const DeclarationRow& row : DECLARATION_ROWS) {
    if (!speaks_of(row.languages, language.name())) continue;
    for (const std::uint16_t symbol : SymbolSet(language, row.types)) {
      if (!language.is_named(symbol)) continue;
      _rows.at(symbol).emplace_back(language, row);
      _concerned.at(symbol) = 1;
    }
  }
}

const Declaration* Declarations::of(const Node& node, Around around) const {
  for (const Declaration& row : _rows[node.symbol()]) {
    if (row.holds(node, around, _holders)) return &row;
  }
  return nullptr;
}

}  // namespace engines::treesitter
