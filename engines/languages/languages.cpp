// The registry of the sixteen languages and their grammars.
//
// To add a language, change: REGISTRY below; detection_table.h; package.json and
// cmake/Grammars.cmake, for its package; node_types.h, if rules name new node types; language.cpp,
// if its grammar names nodes otherwise than the rules do.
//
// A request costs a search through sixteen names. The first one for a language builds it.
//
// Tested by tests/languages_test.cpp.
#include "engines/languages/languages.h"

#include <array>
#include <atomic>
#include <cstddef>
#include <memory>

#include "engines/languages/detection_table.h"
#include "engines/languages/language.h"
#include "engines/languages/versions.h"

extern "C" {
const TSLanguage* tree_sitter_python();
const TSLanguage* tree_sitter_javascript();
const TSLanguage* tree_sitter_typescript();
const TSLanguage* tree_sitter_tsx();
const TSLanguage* tree_sitter_java();
const TSLanguage* tree_sitter_go();
const TSLanguage* tree_sitter_rust();
const TSLanguage* tree_sitter_c_sharp();
const TSLanguage* tree_sitter_ruby();
const TSLanguage* tree_sitter_php();
const TSLanguage* tree_sitter_sql();
const TSLanguage* tree_sitter_markdown();
const TSLanguage* tree_sitter_xml();
const TSLanguage* tree_sitter_json();
const TSLanguage* tree_sitter_yaml();
const TSLanguage* tree_sitter_toml();
}

namespace engines::languages {
namespace {

struct Registration {
  std::string_view name;
  std::string_view grammar_name;  // as in the name of its entry point
  const TSLanguage* (*grammar)();
  std::string_view package;
};

// In the order of DETECTION.
constexpr auto REGISTRY = std::to_array<Registration>({
    {"python", "python", tree_sitter_python, "tree-sitter-python"},
    {"javascript", "javascript", tree_sitter_javascript, "tree-sitter-javascript"},
    {"typescript", "typescript", tree_sitter_typescript, "tree-sitter-typescript"},
    {"tsx", "tsx", tree_sitter_tsx, "tree-sitter-typescript"},
    {"java", "java", tree_sitter_java, "tree-sitter-java"},
    {"go", "go", tree_sitter_go, "tree-sitter-go"},
    {"rust", "rust", tree_sitter_rust, "tree-sitter-rust"},
    {"csharp", "c_sharp", tree_sitter_c_sharp, "tree-sitter-c-sharp"},
    {"ruby", "ruby", tree_sitter_ruby, "tree-sitter-ruby"},
    {"php", "php", tree_sitter_php, "tree-sitter-php"},
    {"sql", "sql", tree_sitter_sql, "@derekstride/tree-sitter-sql"},
    {"markdown", "markdown", tree_sitter_markdown, "@tree-sitter-grammars/tree-sitter-markdown"},
    {"xml", "xml", tree_sitter_xml, "@tree-sitter-grammars/tree-sitter-xml"},
    {"json", "json", tree_sitter_json, "tree-sitter-json"},
    {"yaml", "yaml", tree_sitter_yaml, "@tree-sitter-grammars/tree-sitter-yaml"},
    {"toml", "toml", tree_sitter_toml, "@tree-sitter-grammars/tree-sitter-toml"},
});
constexpr std::size_t COUNT = REGISTRY.size();

static_assert(COUNT == DETECTION.size(), "every language has its row of detection");
static_assert(
    [] {
      for (std::size_t i = 0; i < COUNT; ++i) {
        if (REGISTRY[i].name != DETECTION[i].language) return false;
      }
      return true;
    }(),
    "both tables stand in the same order");

constexpr auto NAMES = [] {
  std::array<std::string_view, COUNT> names;
  for (std::size_t i = 0; i < COUNT; ++i) names[i] = REGISTRY[i].name;
  return names;
}();

// The version that was compiled in. Evaluated by the compiler, which refuses a missing one.
constexpr GrammarVersion version_of(std::string_view grammar_name) {
  for (const GrammarVersion& row : GRAMMAR_VERSIONS) {
    if (row.grammar == grammar_name) return row;
  }
  throw grammar_name;
}

constexpr auto INFOS = [] {
  std::array<LanguageInfo, COUNT> infos;
  for (std::size_t i = 0; i < COUNT; ++i) {
    const GrammarVersion compiled = version_of(REGISTRY[i].grammar_name);
    infos[i] = {REGISTRY[i].name, REGISTRY[i].package,     compiled.version,
                compiled.digest,  DETECTION[i].file_names, DETECTION[i].suffixes};
  }
  return infos;
}();

// Several threads may build a language at once. The first one to finish stores it, and the others
// drop theirs and take that one. No thread waits: a child that is forked while another thread
// builds would wait for ever. The object is never destroyed, since parsers in thread-local storage
// may still use it while static objects are destroyed.
constinit std::array<std::atomic<const Language*>, COUNT> languages{};

const Language* language_at(std::size_t index) {
  const Language* known = languages[index].load(std::memory_order_acquire);
  if (known != nullptr) return known;
  auto mine = std::make_unique<const Language>(REGISTRY[index].name, REGISTRY[index].grammar());
  const bool is_first = languages[index].compare_exchange_strong(
      known, mine.get(), std::memory_order_acq_rel, std::memory_order_acquire);
  return is_first ? mine.release() : known;
}

}  // namespace

std::span<const std::string_view> language_names() { return NAMES; }

std::span<const LanguageInfo> language_infos() { return INFOS; }

std::string_view core_version() { return CORE_VERSION; }

const Language* get_language(std::string_view name) {
  for (std::size_t i = 0; i < COUNT; ++i) {
    if (REGISTRY[i].name == name) return language_at(i);
  }
  return nullptr;
}

}  // namespace engines::languages
