// See uses.h.
#include "engines/treesitter/references/uses.h"

#include "engines/treesitter/reading/source.h"
#include "engines/treesitter/text/text.h"

namespace engines::treesitter {
namespace {

constexpr std::string_view ANYWHERE = "*";

// Nobody writes more levels of groups or longer paths by hand. In a hostile file the outer ones are
// left out, since they would be copied for each name within them.
constexpr int MOST_LEVELS = 32;
constexpr std::size_t LONGEST_PATH = 1024;

bool is_as_written(Reading reading) {
  return reading == Reading::whole || reading == Reading::in_group;
}

std::string_view last_part(std::string_view path) {
  const std::size_t end = path.find_last_of("/\\:.");
  return end == std::string_view::npos ? path : path.substr(end + 1);
}

// Behind a slash, `v0` and `v1` are names of folders; from `v2` on it is a version.
bool is_version(std::string_view part, char separator) {
  if (separator == '/' && (part == "v0" || part == "v1")) return false;
  return part.size() > 1 && part.front() == 'v' &&
         part.find_first_not_of("0123456789", 1) == std::string_view::npos;
}

std::string_view package_of(std::string_view path) {
  const std::string_view last = last_part(path);
  if (last.size() == path.size()) return path;
  const std::size_t separator = path.size() - last.size() - 1;
  return is_version(last, path[separator]) ? last_part(path.substr(0, separator)) : last;
}

}  // namespace

Uses::Row::Row(const languages::Language& language, const UseRow& row)
    : _row(&row),
      _place(language, row.place),
      _names(language, row.terms.name),
      _conditions(language, row.terms.when),
      _kinds(split_whitespace(row.kinds)) {}

bool Uses::Row::holds(const Node& whole, const Node& above, const Node& name,
                      std::string_view region) const {
  return (_row->terms.name.empty() || _names.contains(name.symbol())) &&
         (_row->place.empty() || _place.holds(whole)) &&
         (_row->terms.within.empty() || _row->terms.within == region) && _conditions.hold(above) &&
         (!_row->terms.is_upper_case || is_upper(first(name.bytes(), 1)));
}

Uses::Uses(const languages::Language& language)
    : _own_names(language),
      _names(language),
      _written(language),
      _regions(language),
      _separators(language),
      _concerned(language) {
  for (std::uint16_t symbol = 0; symbol < language.symbol_count(); ++symbol) {
    if (_own_names.is_carrier(symbol)) _concerned.at(symbol) |= NAME;
  }
  for (const UseRow& row : USE_ROWS) {
    if (!speaks_of(row.languages, language.name())) continue;
    Rows& rows = is_as_written(row.terms.reading) ? _written : _names;
    if (row.above == ANYWHERE) rows.anywhere.emplace_back(language, row);
    for (const std::uint16_t symbol : SymbolSet(language, row.above)) {
      if (language.is_named(symbol)) rows.by_above.at(symbol).emplace_back(language, row);
    }
    if (&rows == &_names) continue;
    for (const std::uint16_t symbol : SymbolSet(language, row.terms.name)) {
      _concerned.at(symbol) |= WRITTEN;
    }
  }
  for (const RegionRow& row : REGION_ROWS) {
    if (!speaks_of(row.languages, language.name())) continue;
    for (const std::uint16_t symbol : SymbolSet(language, row.types)) {
      _regions.at(symbol).push_back({row.region, Conditions(language, row.when)});
      _concerned.at(symbol) |= REGION;
    }
  }
  for (const GroupRow& row : GROUP_ROWS) {
    if (!speaks_of(row.languages, language.name())) continue;
    for (const std::uint16_t symbol : SymbolSet(language, row.types)) {
      _separators.at(symbol) = row.separator;
    }
  }
  for (const BuiltinRow& row : BUILTIN_ROWS) {
    if (!speaks_of(row.languages, language.name())) continue;
    for (const std::string_view name : split_whitespace(row.names)) _builtins.insert(name);
  }
}

std::string_view Uses::region(const Node& node) const {
  for (const Region& region : _regions[node.symbol()]) {
    if (region.conditions.hold(node)) return region.name;
  }
  return {};
}

const Uses::Row* Uses::of_written(const Node& node, std::string_view region) const {
  return first_that_holds(_written, node, node, region);
}

const Uses::Row* Uses::of_name(const Node& name, std::string_view region) const {
  return first_that_holds(_names, _own_names.whole(name), name, region);
}

std::string_view Uses::text(const Node& name, Reading reading, std::string& storage) const {
  const std::string_view text =
      without_marks(name.tree().source().decoded(name.start_byte(), name.end_byte(), storage));
  if (reading == Reading::package) return package_of(text);
  if (reading == Reading::last) return last_part(text);
  if (reading != Reading::in_group) return text;
  std::string joined(text);
  put_groups_before(name, joined);
  storage = std::move(joined);
  return storage;
}

void Uses::put_groups_before(const Node& name, std::string& text) const {
  std::string prefix;
  std::string storage;
  std::optional<Node> group = name.parent();
  for (int level = 0; group && level < MOST_LEVELS; ++level, group = group->parent()) {
    const std::string_view separator = _separators[group->symbol()];
    const Node path = *group->children().begin();
    if (separator.empty() || !path.is_named() || path == name) continue;
    if (prefix.size() + path.end_byte() - path.start_byte() > LONGEST_PATH) break;
    prefix.insert(0, separator);
    prefix.insert(0, path.tree().source().decoded(path.start_byte(), path.end_byte(), storage));
  }
  text.insert(0, prefix);
}

const Uses::Row* Uses::first_that_holds(const Rows& rows, const Node& whole, const Node& name,
                                        std::string_view region) {
  const std::optional<Node> above = whole.parent();
  if (!above) return nullptr;
  for (const std::vector<Row>* each : {&rows.by_above[above->symbol()], &rows.anywhere}) {
    for (const Row& row : *each) {
      if (row.holds(whole, *above, name, region)) return &row;
    }
  }
  return nullptr;
}

}  // namespace engines::treesitter
