// The registry of languages: that their grammars are there, and that the node types and fields
// which the rules name are found in them.

#include "engines/languages/languages.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <tree_sitter/api.h>

#include <barrier>
#include <fstream>
#include <memory>
#include <nlohmann/json.hpp>
#include <set>
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

constexpr std::string_view SIXTEEN[] = {
    "python", "javascript", "typescript", "tsx",      "java", "go",   "rust", "csharp",
    "ruby",   "php",        "sql",        "markdown", "xml",  "json", "yaml", "toml"};

// First of those that ask for a language: only a first request builds one. ctest gives every test a
// process of its own, so that there the order does not matter.
TEST(Languages, ManyThreadsAskAtOnce) {
  constexpr std::size_t THREADS = 16;
  std::vector<std::vector<const Language*>> answers(THREADS);
  std::barrier start(THREADS);
  std::vector<std::thread> threads;
  for (std::size_t t = 0; t < THREADS; ++t)
    threads.emplace_back([&, t] {
      start.arrive_and_wait();
      for (const std::string_view name : SIXTEEN) {
        const Language* language = get_language(name);
        // Reading what another thread may just have built is what this is about.
        if (language == nullptr || language->node_type(65535) != NodeType::error) continue;
        answers[t].push_back(language);
      }
    });
  for (std::thread& thread : threads) thread.join();
  for (const auto& answer : answers) {
    EXPECT_EQ(answer.size(), 16u);
    EXPECT_EQ(answer, answers.front());
  }
}

TEST(Languages, SixteenNamesInOneOrder) {
  EXPECT_THAT(language_names(), ElementsAreArray(SIXTEEN));
  std::vector<std::string_view> names;
  for (const LanguageInfo& info : language_infos()) names.push_back(info.name);
  EXPECT_THAT(names, ElementsAreArray(SIXTEEN));
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
  EXPECT_EQ(sizes.size(), 16u) << "two languages share a grammar";
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

// The texts of the node types that can stand in a tree of the language.
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

struct GrammarTypes {
  std::string_view language;
  std::vector<NodeType> types;
};

// What each room expects of each grammar. A grammar that renames a node would silently take
// symbols or references from a language; here it is told.
TEST(NodeTypes, GrammarsHaveWhatTheRulesName) {
  using enum NodeType;
  const std::vector<NodeType> typescript = {class_declaration,
                                            function_declaration,
                                            method_definition,
                                            arrow_function,
                                            interface_declaration,
                                            type_alias_declaration,
                                            enum_declaration,
                                            pair,
                                            identifier,
                                            type_identifier,
                                            property_identifier,
                                            comment,
                                            export_statement,
                                            program,
                                            export_,
                                            call_expression,
                                            import_statement,
                                            member_expression,
                                            import_specifier,
                                            generic_type,
                                            extends_clause,
                                            implements_clause};
  const std::vector<GrammarTypes> grammars = {
      {"python",
       {class_definition, function_definition, assignment, type, identifier, block,
        expression_statement, string, comment, call, import_statement, import_from_statement,
        attribute, import, dotted_name, aliased_import, generic_type, module}},
      {"javascript",
       {class_declaration, function_declaration, method_definition, arrow_function, pair,
        identifier, property_identifier, class_body, comment, export_statement, program, export_,
        call_expression, import_statement, member_expression, import_specifier}},
      {"typescript", typescript},
      {"tsx", typescript},
      {"java",
       {class_declaration, interface_declaration, enum_declaration, method_declaration,
        constructor_declaration, field_declaration, annotation_type_declaration, identifier,
        type_identifier, comment, modifiers, method_invocation, import_declaration, generic_type}},
      {"go",
       {function_declaration, method_declaration, field_declaration, type_declaration, identifier,
        type_identifier, field_identifier, comment, call_expression, import_declaration,
        generic_type}},
      {"rust",
       {field_declaration,   function_item,   struct_item,      enum_item,       trait_item,
        impl_item,           mod_item,        const_item,       static_item,     type_item,
        identifier,          type_identifier, field_identifier, line_comment,    block_comment,
        visibility_modifier, call_expression, macro_invocation, use_declaration, generic_type}},
      {"csharp",
       {class_declaration, interface_declaration, enum_declaration, method_declaration,
        constructor_declaration, field_declaration, struct_declaration, property_declaration,
        namespace_declaration, identifier, comment, modifier, attribute_list, invocation_expression,
        using_directive, base_list, member_access_expression, qualified_name}},
      {"ruby",
       {class_, module, method, singleton_method, identifier, constant, comment, call, program}},
      {"php",
       {function_definition, class_declaration, interface_declaration, enum_declaration,
        method_declaration, property_declaration, trait_declaration, name, comment,
        visibility_modifier, function_call_expression, member_call_expression, include_expression,
        include_once_expression, require_expression, require_once_expression,
        member_access_expression}},
      {"sql",
       {create_table_statement, create_view_statement, create_function_statement,
        create_index_statement, create_trigger_statement, identifier, name}},
      {"markdown", {atx_heading, inline_}},
      {"xml", {element, STag, EmptyElemTag, Name}},
      {"json", {pair, string}},
      {"yaml",
       {block_mapping_pair, flow_pair, anchor, anchor_name, flow_node, block_node, block_scalar,
        plain_scalar, single_quote_scalar, double_quote_scalar, colon, alias, alias_name}},
      {"toml", {pair, table, table_array_element, bare_key, dotted_key, quoted_key, equals}},
  };
  ASSERT_EQ(grammars.size(), language_names().size());
  for (const GrammarTypes& row : grammars) {
    const auto visible = visible_types(*get_language(row.language));
    for (const NodeType node_type : row.types)
      EXPECT_THAT(visible, Contains(node_type_text(node_type))) << row.language;
  }
}

// A misspelt text would match nothing and nobody would notice.
TEST(NodeTypes, EveryTextIsSomeGrammarsOwn) {
  std::set<std::string_view> visible;
  for (const std::string_view name : language_names())
    visible.merge(visible_types(*get_language(name)));
  // Rules name these for other releases of the grammars; none of ours has them.
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

// Grammars have several symbols of one text, a keyword and a node for instance.
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

struct TreeCase {
  std::string_view language;
  std::string_view source;
  std::string_view expected;  // a type that stands in the tree
  std::string_view absent;    // one that does not, though the grammar may say so
};

// All types in the tree of the source, as a walk meets them.
std::multiset<std::string_view> types_in_tree(const Language& language, std::string_view source) {
  const std::unique_ptr<TSParser, decltype(&ts_parser_delete)> parser(ts_parser_new(),
                                                                      &ts_parser_delete);
  ts_parser_set_language(parser.get(), language.grammar());
  const std::unique_ptr<TSTree, decltype(&ts_tree_delete)> tree(
      ts_parser_parse_string(parser.get(), nullptr, source.data(),
                             static_cast<std::uint32_t>(source.size())),
      &ts_tree_delete);
  std::multiset<std::string_view> types;
  TSTreeCursor cursor = ts_tree_cursor_new(ts_tree_root_node(tree.get()));
  for (bool more = true; more;) {
    types.insert(language.type_name(ts_node_symbol(ts_tree_cursor_current_node(&cursor))));
    more = ts_tree_cursor_goto_first_child(&cursor);
    while (!more && !(more = ts_tree_cursor_goto_next_sibling(&cursor)))
      if (!ts_tree_cursor_goto_parent(&cursor)) break;
  }
  ts_tree_cursor_delete(&cursor);
  return types;
}

// No dollar quotes here: the SQL grammar's scanner loses a few bytes for each, which is not what
// this is about.
TEST(NodeTypes, TreesSpeakInTheNamesOfTheRules) {
  const std::vector<TreeCase> cases = {
      {"java", "// one\nclass A {}", "comment", "line_comment"},
      {"java", "/** two */\nclass A {}", "comment", "block_comment"},
      {"rust", "// one\nfn f() {}", "line_comment", "comment"},
      {"sql", "CREATE TABLE public.orders (id int);", "create_table_statement", "create_table"},
      {"sql", "CREATE TABLE public.orders (id int);", "name", "object_reference"},
      {"sql", "CREATE VIEW v AS SELECT 1;", "create_view_statement", "create_view"},
      {"sql", "CREATE MATERIALIZED VIEW v AS SELECT 1;", "create_view_statement",
       "create_materialized_view"},
      {"sql", "CREATE INDEX i ON t (a);", "create_index_statement", "create_index"},
      {"sql", "SELECT 'x';", "name", "literal"},
      {"sql", "CREATE FUNCTION f() RETURNS int LANGUAGE sql AS 'SELECT 1';",
       "create_function_statement", "create_function"},
      {"sql", "CREATE TRIGGER t AFTER INSERT ON o FOR EACH ROW EXECUTE FUNCTION f();",
       "create_trigger_statement", "create_trigger"},
      {"ruby", "class A\nend", "class", "class_declaration"},
      {"python", "x = = 1\n", "ERROR", "call"},
  };
  for (const TreeCase& row : cases) {
    const auto types = types_in_tree(*get_language(row.language), row.source);
    EXPECT_THAT(types, Contains(row.expected)) << row.source;
    EXPECT_THAT(types, Not(Contains(row.absent))) << row.source;
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

TEST(Fields, GrammarsHaveWhatTheRulesAskFor) {
  const Language& python = *get_language("python");
  for (const Field field :
       {Field::attribute, Field::body, Field::function, Field::module_name, Field::name})
    EXPECT_NE(python.field_id(field), 0) << static_cast<int>(field);
  for (const std::string_view name : {"javascript", "typescript", "tsx"}) {
    EXPECT_NE(get_language(name)->field_id(Field::function), 0) << name;
    EXPECT_NE(get_language(name)->field_id(Field::property), 0) << name;
  }
  EXPECT_NE(get_language("go")->field_id(Field::function), 0);
  EXPECT_EQ(get_language("go")->field_id(Field::module_name), 0);
  EXPECT_EQ(get_language("markdown")->field_id(Field::body), 0);
}

}  // namespace
}  // namespace engines::languages
