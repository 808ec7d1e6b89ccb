// The registry of languages: all grammars are there, and some grammar has each node type and field
// that the rules name. The golden cases of a language show that its grammar has those of its rules.
#include "engines/languages/languages.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <tree_sitter/api.h>

#include <algorithm>
#include <barrier>
#include <fstream>
#include <iterator>
#include <memory>
#include <nlohmann/json.hpp>
#include <set>
#include <sstream>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "engines/languages/language.h"

namespace engines::languages {
namespace {

using ::testing::Contains;
using ::testing::ElementsAreArray;
using ::testing::Not;

// The list in README.md, which promises them to users: "Languages: python, ... and toml."
std::vector<std::string> promised_languages() {
  std::ifstream file(TESTS_DIR "/../README.md");
  const std::string page{std::istreambuf_iterator<char>(file), {}};
  const std::string_view mark = "\nLanguages: ";
  const std::size_t begin = page.find(mark) + mark.size();
  std::string list = page.substr(begin, page.find('.', begin) - begin);
  std::replace(list.begin(), list.end(), ',', ' ');
  std::istringstream words(list);
  return {std::istream_iterator<std::string>(words), {}};
}

// Only the first request builds a language. ctest runs each test in its own process, so that this
// test does make the first request.
TEST(Languages, ManyThreadsAskAtOnce) {
  constexpr std::size_t THREADS = 16;
  std::vector<std::vector<const Language*>> answers(THREADS);
  std::barrier start(THREADS);
  std::vector<std::thread> threads;
  for (std::size_t t = 0; t < THREADS; ++t)
    threads.emplace_back([&, t] {
      start.arrive_and_wait();
      for (const std::string_view name : language_names()) {
        const Language* language = get_language(name);
        // Another thread may have built the language just now; this reads it.
        if (language == nullptr || language->node_type(65535) != NodeType::error) continue;
        answers[t].push_back(language);
      }
    });
  for (std::thread& thread : threads) thread.join();
  for (const auto& answer : answers) {
    EXPECT_EQ(answer.size(), language_names().size());
    EXPECT_EQ(answer, answers.front());
  }
}

TEST(Languages, NamesAreThoseOfTheReadmeInOneOrder) {
  EXPECT_THAT(language_names(), ElementsAreArray(promised_languages()));
  std::vector<std::string_view> names;
  for (const LanguageInfo& info : language_infos()) names.push_back(info.name);
  EXPECT_THAT(names, ElementsAreArray(language_names()));
}

TEST(Languages, EveryGrammarIsThereAndTakenByTheCore) {
  const std::unique_ptr<TSParser, decltype(&ts_parser_delete)> parser(ts_parser_new(),
                                                                      &ts_parser_delete);
  std::set<std::pair<std::uint32_t, std::uint32_t>> sizes;
  for (const std::string_view name : language_names()) {
    const Language* language = get_language(name);
    ASSERT_NE(language, nullptr) << name;
    EXPECT_EQ(language->name(), name);
    EXPECT_TRUE(ts_parser_set_language(parser.get(), language->grammar())) << name;
    EXPECT_EQ(get_language(name), language) << name;
    sizes.emplace(ts_language_symbol_count(language->grammar()),
                  ts_language_state_count(language->grammar()));
  }
  EXPECT_EQ(sizes.size(), language_names().size()) << "two languages share a grammar";
}

TEST(Languages, OtherNamesHaveNone) {
  for (const std::string_view name :
       {"", "Python", "PYTHON", " python", "python ", "pytho", "pythonx", "c_sharp", "c", "cpp",
        "js", "ts", "markdown_inline", "\xff"})
    EXPECT_EQ(get_language(name), nullptr) << name;
  EXPECT_EQ(get_language(std::string_view("python\0", 7)), nullptr);
  EXPECT_EQ(get_language(std::string_view("pythonic", 6)), get_language("python"));
}

TEST(Languages, VersionsAreThoseOfThePackageList) {
  std::ifstream file(TESTS_DIR "/../package.json");
  ASSERT_TRUE(file);
  const auto dependencies = nlohmann::json::parse(file).at("dependencies");
  EXPECT_EQ(dependencies.at("tree-sitter"), core_version());
  for (const LanguageInfo& info : language_infos()) {
    const std::string package(info.grammar_package);
    ASSERT_TRUE(dependencies.contains(package)) << package;
    EXPECT_EQ(dependencies.at(package), info.grammar_version) << package;
  }
}

// ---- Node types ---------------------------------------------------------------------------------

// The texts of all node types that a tree of the language can have.
std::set<std::string_view> visible_types(const Language& language) {
  std::set<std::string_view> types;
  const std::uint32_t count = ts_language_symbol_count(language.grammar());
  for (std::uint32_t i = 0; i < count; ++i) {
    const auto symbol = static_cast<std::uint16_t>(i);
    const TSSymbolType type = ts_language_symbol_type(language.grammar(), symbol);
    if (type == TSSymbolTypeRegular || type == TSSymbolTypeAnonymous)
      types.insert(language.type_name(symbol));
  }
  return types;
}

// A misspelt text would match nothing, and nothing else would show that.
TEST(NodeTypes, EveryTextIsSomeGrammarsOwn) {
  std::set<std::string_view> visible;
  for (const std::string_view name : language_names())
    visible.merge(visible_types(*get_language(name)));
  // The rules name these for other versions of the grammars; none of ours has them.
  const std::set<NodeType> absent = {NodeType::other,       NodeType::error,
                                     NodeType::suite,       NodeType::newline,
                                     NodeType::module_name, NodeType::create_procedure_statement};
  for (const NodeTypeText& row : NODE_TYPE_TEXTS)
    EXPECT_EQ(visible.contains(row.text), !absent.contains(row.type) || row.text.empty())
        << row.text;
}

TEST(NodeTypes, TextAndTypeLeadToEachOther) {
  for (const NodeTypeText& row : NODE_TYPE_TEXTS) {
    EXPECT_EQ(node_type_of(row.text), row.type) << row.text;
    EXPECT_EQ(node_type_text(row.type), row.text);
  }
  EXPECT_EQ(node_type_of("no_such_type"), NodeType::other);
  EXPECT_EQ(node_type_of("error"), NodeType::other);
  EXPECT_EQ(node_type_of("class_"), NodeType::other);
}

// Grammars have several symbols with one text, such as a keyword and a node.
TEST(NodeTypes, EverySymbolOfOneTextHasOneType) {
  for (const std::string_view name : language_names()) {
    const Language& language = *get_language(name);
    for (std::uint32_t i = 0; i < 65535; ++i) {
      const auto symbol = static_cast<std::uint16_t>(i);
      ASSERT_EQ(language.node_type(symbol), node_type_of(language.type_name(symbol)))
          << name << " " << symbol;
    }
    EXPECT_EQ(language.node_type(65535), NodeType::error);
    EXPECT_EQ(language.type_name(65535), "ERROR");
    EXPECT_EQ(language.type_name(65534), "");
  }
}

TEST(NodeTypes, RenamedTypesAreGone) {
  const auto java = visible_types(*get_language("java"));
  for (const std::string_view type : {"line_comment", "block_comment"})
    EXPECT_THAT(java, Not(Contains(type)));
  const auto sql = visible_types(*get_language("sql"));
  for (const std::string_view type :
       {"create_table", "create_index", "create_trigger", "create_function", "create_view",
        "create_materialized_view", "object_reference", "literal", "function_declaration"})
    EXPECT_THAT(sql, Not(Contains(type)));
  // The block of a PL/pgSQL function declares variables.
  EXPECT_THAT(sql, Contains("variable_declaration"));
  // A rename holds in its own language only.
  EXPECT_THAT(visible_types(*get_language("go")), Contains("function_declaration"));
  EXPECT_THAT(visible_types(*get_language("rust")), Contains("line_comment"));
}

// ---- Fields -------------------------------------------------------------------------------------

struct FieldCase {
  Field field;
  std::string_view name;
};

TEST(Fields, IdsAreTheGrammarsOwn) {
  const FieldCase fields[] = {{Field::attribute, "attribute"}, {Field::body, "body"},
                              {Field::function, "function"},   {Field::module_name, "module_name"},
                              {Field::name, "name"},           {Field::property, "property"}};
  static_assert(std::size(fields) == FIELD_COUNT);
  std::set<std::string_view> found;
  for (const std::string_view name : language_names()) {
    const Language& language = *get_language(name);
    for (const FieldCase& row : fields) {
      const std::uint16_t id = language.field_id(row.field);
      if (id == 0) continue;
      EXPECT_EQ(ts_language_field_name_for_id(language.grammar(), id), row.name) << name;
      found.insert(row.name);
    }
  }
  EXPECT_EQ(found.size(), FIELD_COUNT) << "a field that no grammar has is misspelt";
}

}  // namespace
}  // namespace engines::languages
