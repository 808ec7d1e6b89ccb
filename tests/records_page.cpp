// Makes the tables in doc/records.md, which say which nodes of each grammar become which records,
// under both sets of rules. They are made from the tables in the code, so that the page cannot
// differ from it.
//
//   records_page            compares
//   records_page --update   rewrites the tables between the page's marks
//
// The text around the marks is written by hand.
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
#include "engines/treesitter/parsing/node.h"
#include "engines/treesitter/references/standard_uses.h"
#include "engines/treesitter/references/use_table.h"
#include "engines/treesitter/symbols/declaration_table.h"
#include "engines/treesitter/symbols/standard_kinds.h"
#include "engines/treesitter/text/text.h"

namespace {

using namespace engines::treesitter;  // NOLINT: the tables of the whole engine
using engines::languages::Language;

constexpr std::string_view PAGE = DOC_DIR "/records.md";

// The page's words for what a standard row does.
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

// Joins the texts that are not empty.
std::string joined(const std::vector<std::string>& texts, std::string_view between) {
  std::string result;
  for (const std::string& text : texts) {
    if (text.empty()) continue;
    if (!result.empty()) result += between;
    result += text;
  }
  return result;
}

std::string codes(std::string_view texts) {
  std::vector<std::string> all;
  for (const std::string_view text : split_whitespace(texts)) all.push_back(code(text));
  return joined(all, ", ");
}

std::string place_words(std::string_view place) {
  place.remove_prefix(std::min(place.find_first_not_of("+*'"), place.size()));
  for (const auto& [known, words] : PLACE_WORDS) {
    if (known == place) return std::string(words);
  }
  const std::size_t behind = place.rfind('+');
  if (behind == std::string_view::npos) return codes(place);
  return code(place.substr(behind + 1)) + " behind " + code(place.substr(0, behind));
}

std::string path_words(std::string_view path) {
  std::vector<std::string> places;
  for (const std::string_view place : split(path, '/')) places.push_back(place_words(place));
  return joined(places, " > ");
}

// A condition in words (navigation/condition.h has its form).
std::string condition_words(std::string_view text) {
  const bool is_absence = text.starts_with('!');
  if (is_absence) text.remove_prefix(1);
  const std::size_t up = std::min(text.find_first_not_of('^'), text.size());
  text.remove_prefix(up);
  const std::size_t end = std::min(text.find_first_of(":=~"), text.size());
  std::vector<std::string> steps(up, "parent");
  steps.push_back(path_words(text.substr(0, end)));
  std::string asked = joined(steps, " > ");
  if (asked.empty()) asked = "it";
  if (end == text.size()) return (is_absence ? "no " : "a ") + asked;
  const std::string values = codes(text.substr(end + 1));
  if (text[end] == '~') {
    const std::string shape = trim(text.substr(end + 1)) == "upper" ? " in upper case" : " a name";
    return asked + (is_absence ? " not" : "") + shape;
  }
  return asked + (is_absence ? " ≠ " : " = ") + values;
}

std::string conditions_words(std::string_view text) {
  std::vector<std::string> all;
  for (const std::string_view each : split(text, ';')) {
    if (!trim(each).empty()) all.push_back(condition_words(trim(each)));
  }
  return joined(all, "; ");
}

// The entries of one set of rules for the node types of a language, in the order of its table.
class Column {
 public:
  struct Entry {
    std::string words;
    std::string where;
    bool operator==(const Entry& other) const = default;
  };

  void add(std::string_view type, Entry entry) {
    std::vector<Entry>& entries = _entries[std::string(type)];
    if (entries.empty()) _order.emplace_back(type);
    if (std::find(entries.begin(), entries.end(), entry) == entries.end()) {
      entries.push_back(std::move(entry));
    }
  }
  const std::vector<Entry>& entries(const std::string& type) const {
    static const std::vector<Entry> none = {{"–", ""}};
    const auto found = _entries.find(type);
    return found == _entries.end() ? none : found->second;
  }
  const std::vector<std::string>& order() const { return _order; }

 private:
  std::map<std::string, std::vector<Entry>> _entries;
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
    const bool is_root = language.name() == "python" && type == "module";
    if (has_type(language, type) && !is_root) column.add(type, {std::string(row.kind), ""});
  }
  // The one standard rule that is no row of the table.
  if (language.name() == "python") column.add("assignment", {"constant", ""});
  return column;
}

Column standard_references(const Language& language) {
  Column column;
  for (const StandardUseRow& row : STANDARD_USES) {
    const std::string_view type = engines::languages::node_type_text(row.type);
    if (!has_type(language, type)) continue;
    for (const auto& [use, words] : USE_WORDS) {
      if (use == row.use) column.add(type, {std::string(words), ""});
    }
  }
  return column;
}

Column navigation_declarations(const Language& language) {
  Column column;
  for (const DeclarationRow& row : DECLARATION_ROWS) {
    if (!speaks_of(row.languages, language.name())) continue;
    std::vector<std::string> around;
    for (const auto& [word, words] : AROUND_WORDS) {
      if (is_one_of(word, split_whitespace(row.terms.around))) around.emplace_back(words);
    }
    const std::string where =
        joined({joined(around, " or "), codes(row.terms.words), conditions_words(row.terms.when),
                row.terms.blank.empty() ? "" : "not named " + code(row.terms.blank)},
               "; ");
    const std::string words(row.kind.empty() ? "a scope, no symbol" : row.kind);
    for (const std::string_view type : split_whitespace(row.types))
      column.add(type, {words, where});
  }
  return column;
}

Column navigation_references(const Language& language) {
  Column column;
  for (const UseRow& row : USE_ROWS) {
    if (!speaks_of(row.languages, language.name())) continue;
    std::vector<std::string> kinds;
    for (const std::string_view kind : split_whitespace(row.kinds)) kinds.emplace_back(kind);
    const std::string within =
        row.terms.within.empty() ? "" : "within " + std::string(row.terms.within);
    const std::string where = joined(
        {place_words(row.place), codes(row.terms.name), within, conditions_words(row.terms.when),
         row.terms.is_upper_case ? "begins in upper case" : ""},
        "; ");
    const std::string words = kinds.empty() ? "nothing" : joined(kinds, ", ");
    for (const std::string_view type : split_whitespace(row.above))
      column.add(type, {words, where});
  }
  return column;
}

// One line for each entry of the navigation rules.
std::string table(std::string_view heading, const Column& standard, const Column& navigation) {
  std::vector<std::string> types = navigation.order();
  for (const std::string& type : standard.order()) {
    if (!is_one_of(type, types)) types.push_back(type);
  }
  std::string text;
  text.append("| ").append(heading).append(
      " | standard | navigation | where |\n|---|---|---|---|\n");
  for (const std::string& type : types) {
    std::string head = "| " + (type == "*" ? "any other" : code(type)) + " | " +
                       standard.entries(type).front().words;
    for (const auto& [words, where] : navigation.entries(type)) {
      text += head + " | " + words + " | " + where + " |\n";
      head = "| | ";
    }
  }
  return text;
}

std::string plain_table(std::string_view heading, const Column& column) {
  std::string text = "| " + std::string(heading) + " | |\n|---|---|\n";
  for (const std::string& type : column.order()) {
    text += "| " + code(type) + " | " + column.entries(type).front().words + " |\n";
  }
  return text;
}

std::string tables_of(std::string_view name) {
  const Language& language = *engines::languages::get_language(name);
  const Column declarations = standard_declarations(language);
  const Column references = standard_references(language);
  if (is_navigated(name)) {
    return table("declares", declarations, navigation_declarations(language)) + '\n' +
           table("refers", references, navigation_references(language));
  }
  return plain_table("declares", declarations) +
         (references.order().empty() ? "" : '\n' + plain_table("refers", references));
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
