// The tables in doc/records.md: which nodes of which grammar become which records, under both
// rules. They are made from the tables that the rules are, so that the page cannot say anything
// else.
//
//   records_page            compares
//   records_page --update   rewrites what stands between the page's marks
//
// The words around the marks are written by hand.
#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <iostream>
#include <iterator>
#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "engines/languages/language.h"
#include "engines/languages/languages.h"
#include "engines/languages/node_types.h"
#include "engines/treesitter/core/text.h"
#include "engines/treesitter/references/standard_uses.h"
#include "engines/treesitter/references/use_table.h"
#include "engines/treesitter/symbols/declaration_table.h"
#include "engines/treesitter/symbols/standard_kinds.h"

namespace {

using namespace engines::treesitter;  // NOLINT: the tables of the whole engine
using engines::languages::Language;

constexpr std::string_view PAGE = DOC_DIR "/records.md";

// How a page calls what a standard row does.
constexpr std::pair<Use, std::string_view> USE_WORDS[] = {
    {Use::call, "call"},
    {Use::import, "import, import_module"},
    {Use::type, "type"},
    {Use::alias, "call, in YAML only"},
    {Use::member, "call, unless it is called itself"},
};

constexpr std::pair<std::string_view, std::string_view> AROUND_WORDS[] = {
    {"file", "at the top"}, {"type", "in a type"}, {"value", "in a function"}};

constexpr std::pair<std::string_view, std::string_view> PLACE_WORDS[] = {
    {"", ""},
    {".", "it"},
    {"<", "its first child"},
    {">", "its last child"},
};

std::string code(std::string_view text) { return "`" + std::string(text) + "`"; }

std::string codes(std::string_view texts) {
  std::string result;
  for (const std::string_view text : split_whitespace(texts)) {
    result += (result.empty() ? "" : ", ") + code(text);
  }
  return result;
}

std::string place_words(std::string_view path) {
  std::string result;
  for (std::string_view place : split(path, '/')) {
    if (place.starts_with('+') || place.starts_with('*')) place.remove_prefix(1);
    if (place.starts_with('\'')) place.remove_prefix(1);
    const auto* const known = std::find_if(std::begin(PLACE_WORDS), std::end(PLACE_WORDS),
                                           [&](const auto& row) { return row.first == place; });
    const bool is_known = known != std::end(PLACE_WORDS);
    if (!result.empty()) result += ", there ";
    result += is_known ? std::string(known->second) : code(place);
  }
  return result;
}

// A condition in words (core/condition.h has its form).
std::string condition_words(std::string_view text) {
  const bool is_absence = text.starts_with('!');
  if (is_absence) text.remove_prefix(1);
  std::string asked;
  while (text.starts_with('^')) {
    asked += asked.empty() ? "its parent" : "'s parent";
    text.remove_prefix(1);
  }
  const std::size_t end = std::min(text.find_first_of(":=~"), text.size());
  const std::string place = place_words(text.substr(0, end));
  const std::string values = codes(text.substr(std::min(end + 1, text.size())));
  if (end == text.size())
    return (is_absence ? "without " : "with ") + (asked.empty() ? "" : asked + "'s ") + place;
  if (asked.empty() || !place.empty())
    asked += (asked.empty() ? "" : "'s ") + (place.empty() ? "it" : place);
  const char sign = text[end];
  if (sign == '~') return asked + (is_absence ? " not" : "") + " in upper case";
  return asked + (is_absence ? " not " : " ") + values;
}

std::string conditions_words(std::string_view text) {
  std::string result;
  for (const std::string_view each : split(text, ';')) {
    if (trim(each).empty()) continue;
    result += (result.empty() ? "" : " and ") + condition_words(trim(each));
  }
  return result;
}

// What one set of rules says of the node types of a language, in the order of its table.
class Column {
 public:
  void add(std::string_view type, const std::string& words) {
    std::string& cell = _cells[std::string(type)];
    if (cell.empty()) _order.emplace_back(type);
    const std::string known = "; " + cell + ";";
    if (known.find("; " + words + ";") == std::string::npos) {
      cell += (cell.empty() ? "" : "; ") + words;
    }
  }
  std::string cell(const std::string& type) const {
    const auto found = _cells.find(type);
    return found == _cells.end() ? "–" : found->second;
  }
  const std::vector<std::string>& order() const { return _order; }

 private:
  std::map<std::string, std::string> _cells;
  std::vector<std::string> _order;
};

bool has_type(const Language& language, std::string_view type) {
  const auto symbols = language.symbols_of(type);
  return std::any_of(symbols.begin(), symbols.end(),
                     [&](std::uint16_t symbol) { return language.is_named(symbol); });
}

Column standard_declarations(const Language& language) {
  Column column;
  for (const StandardKindRow& row : STANDARD_KINDS) {
    const std::string_view type = engines::languages::node_type_text(row.type);
    if (has_type(language, type)) column.add(type, std::string(row.kind));
  }
  if (language.name() == "python")
    column.add("assignment",
               "constant, of an upper-case name with an underscore or an annotated one");
  return column;
}

Column standard_references(const Language& language) {
  Column column;
  for (const StandardUseRow& row : STANDARD_USES) {
    const std::string_view type = engines::languages::node_type_text(row.type);
    if (!has_type(language, type)) continue;
    for (const auto& [use, words] : USE_WORDS) {
      if (use == row.use) column.add(type, std::string(words));
    }
  }
  return column;
}

Column navigation_declarations(const Language& language) {
  Column column;
  for (const DeclarationRow& row : DECLARATION_ROWS) {
    if (!speaks_of(row.languages, language.name())) continue;
    std::string words(row.kind);
    if (words.empty()) words = "a scope without a name";
    std::string when = conditions_words(row.terms.when);
    if (!row.terms.around.empty()) {
      when += (when.empty() ? "" : " and ") + ("in a " + std::string(row.terms.around));
    }
    if (!row.terms.words.empty()) when += (when.empty() ? "" : " and ") + codes(row.terms.words);
    if (!when.empty()) words += ": " + when;
    for (const std::string_view type : split_whitespace(row.types)) column.add(type, words);
  }
  return column;
}

Column navigation_references(const Language& language) {
  Column column;
  for (const UseRow& row : USE_ROWS) {
    if (!speaks_of(row.languages, language.name())) continue;
    std::string words;
    for (const std::string_view kind : split_whitespace(row.kinds)) {
      words += (words.empty() ? "" : ", ") + std::string(kind);
    }
    if (words.empty()) words = "none";
    std::string where = place_words(row.place);
    if (!row.terms.name.empty()) where += (where.empty() ? "" : ", a ") + codes(row.terms.name);
    if (!where.empty()) words += ": " + where;
    if (!row.terms.when.empty()) words += ", " + conditions_words(row.terms.when);
    if (!row.terms.within.empty()) words += ", within a " + std::string(row.terms.within);
    for (const std::string_view type : split_whitespace(row.above)) column.add(type, words);
  }
  return column;
}

std::string table(std::string_view heading, const Column& standard, const Column& navigation) {
  std::vector<std::string> types = navigation.order();
  for (const std::string& type : standard.order()) {
    if (std::find(types.begin(), types.end(), type) == types.end()) types.push_back(type);
  }
  std::string text;
  text.append("| ").append(heading).append(" | standard | navigation |\n|---|---|---|\n");
  for (const std::string& type : types) {
    text += "| " + (type == "*" ? "any other" : code(type)) + " | " + standard.cell(type) + " | " +
            navigation.cell(type) + " |\n";
  }
  return text;
}

std::string tables_of(std::string_view name) {
  const Language& language = *engines::languages::get_language(name);
  Column standard = standard_declarations(language);
  Column uses = standard_references(language);
  if (is_navigated(name)) {
    return table("declares", standard, navigation_declarations(language)) + '\n' +
           table("refers", uses, navigation_references(language));
  }
  std::string text = table("declares", standard, standard);
  if (!uses.order().empty()) text += '\n' + table("refers", uses, uses);
  return text;
}

std::string read() {
  std::ifstream file{std::string(PAGE)};
  return {std::istreambuf_iterator<char>(file), {}};
}

// The page with the tables of all languages between its marks.
std::string made_anew(std::string page) {
  for (const std::string_view name : engines::languages::language_names()) {
    const std::string begin = "<!-- " + std::string(name) + ": made by records_page -->\n";
    const std::string end = "<!-- end -->\n";
    const std::size_t first = page.find(begin);
    const std::size_t last = page.find(end, first);
    EXPECT_NE(last, std::string::npos) << "the page has no place for " << name;
    if (first == std::string::npos || last == std::string::npos) continue;
    page.replace(first + begin.size(), last - first - begin.size(), tables_of(name));
  }
  return page;
}

TEST(RecordsPage, SaysWhatTheTablesSay) {
  EXPECT_EQ(read(), made_anew(read())) << "run records_page --update, and read what it writes";
}

}  // namespace

int main(int count, char** arguments) {
  testing::InitGoogleTest(&count, arguments);
  if (count > 1 && std::string_view(arguments[1]) == "--update") {
    const std::string page = made_anew(read());
    std::ofstream(std::string(PAGE)) << page;
    return 0;
  }
  return RUN_ALL_TESTS();
}
