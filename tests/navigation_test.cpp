// The navigation rules: each row of their tables names what its grammars have; and what golden
// cases do not show, data formats and ill-formed bytes.
#include <gtest/gtest.h>

#include <string>

#include "engines/languages/language.h"
#include "engines/treesitter/navigation/own_name.h"
#include "engines/treesitter/references/use_table.h"
#include "engines/treesitter/symbols/declaration_table.h"
#include "engines/treesitter/text/text.h"
#include "engines/treesitter/treesitter.h"

namespace engines::treesitter {
namespace {

// The languages that a row is for.
std::vector<const languages::Language*> languages_of(In in) {
  std::vector<const languages::Language*> found;
  for (const InRow& row : IN_ROWS) {
    if (speaks_of(in, row.language)) found.push_back(languages::get_language(row.language));
  }
  return found;
}

// A row with a misspelt type would match nothing, and nothing else would show that.
void expect_types(In in, std::string_view types) {
  EXPECT_FALSE(languages_of(in).empty()) << "no row of IN_ROWS for the rows of " << types;
  for (const languages::Language* language : languages_of(in)) {
    for (const std::string_view type : split_whitespace(types)) {
      EXPECT_TRUE(type == "*" || !language->symbols_of(type).empty())
          << language->name() << " has no node type " << type;
    }
  }
}

void expect_path(In in, std::string_view path) {
  if (path.starts_with('+') || path.starts_with('*')) path.remove_prefix(1);
  if (path.empty()) return;
  for (const languages::Language* language : languages_of(in)) {
    for (const std::string_view place : split(path, '/')) {
      EXPECT_NE(Place(*language, place).kind, Place::Kind::nowhere)
          << language->name() << " has neither a field nor a node type " << place;
    }
  }
}

void expect_conditions(In in, std::string_view when) {
  for (std::string_view each : split(when, ';')) {
    each = trim(each);
    const std::size_t end = std::min(each.find_first_of(":=~"), each.size());
    const bool asks_type = end < each.size() && each[end] == ':';
    if (asks_type) expect_types(in, each.substr(end + 1));
    std::string_view place = each.substr(0, end);
    place.remove_prefix(std::min(place.find_first_not_of("!^"), place.size()));
    expect_path(in, place);
  }
}

TEST(NavigationTest, TablesSpeakOfWhatTheGrammarsHave) {
  for (const DeclarationRow& row : DECLARATION_ROWS) {
    expect_types(row.languages, row.types);
    expect_types(row.languages, row.terms.each);
    expect_path(row.languages, row.name);
    expect_path(row.languages, row.terms.owner);
    expect_conditions(row.languages, row.terms.when);
  }
  for (const UseRow& row : USE_ROWS) {
    expect_types(row.languages, row.above);
    expect_types(row.languages, row.terms.name);
    expect_path(row.languages, row.place);
    expect_conditions(row.languages, row.terms.when);
  }
  for (const RegionRow& row : REGION_ROWS) {
    expect_types(row.languages, row.types);
    expect_conditions(row.languages, row.when);
  }
  for (const GroupRow& row : GROUP_ROWS) expect_types(row.languages, row.types);
}

TEST(NavigationTest, DataIsReadAlikeUnderBothRules) {
  const struct {
    std::string_view language;
    std::string_view source;
  } ROWS[] = {{"json", R"({"a":{"b":1},"a":2})"},
              {"yaml", "a: {b: &x 1}\na: *x\n"},
              {"toml", "[a]\nb = 1\n[a]\nc = 2\n"},
              {"xml", "<a><b/><b/></a>"},
              {"markdown", "# a\n## b\n# a\n"}};
  const TreeSitterEngine standard;
  const TreeSitterEngine navigation(Rules::navigation);
  for (const auto& [language, source] : ROWS) {
    EXPECT_EQ(standard.parse_content(source, language, "f"),
              navigation.parse_content(source, language, "f"))
        << language;
  }
}

TEST(NavigationTest, IllFormedBytesCostNoFile) {
  const TreeSitterEngine engine(Rules::navigation);
  for (const InRow& row : IN_ROWS) {
    // A comment and a name in Latin-1, as old sources have them.
    const std::string source = "/* \xe9 */ class A { void \xe9() { f\xe9(); } }\n# \xe9\nf(\xe9)\n";
    EXPECT_NO_THROW(engine.parse_bytes(source, row.language, "f")) << row.language;
  }
  const auto result =
      engine.parse_bytes("/** \xe9t\xe9 */ class A { /* \xe9 */ int a; }", "java", "f");
  ASSERT_EQ(result.symbols.size(), 2u);
  EXPECT_EQ(result.symbols[0].docstring, "\uFFFDt\uFFFD");
}

}  // namespace
}  // namespace engines::treesitter
