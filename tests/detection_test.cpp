// How a language is detected: by the name or the suffix of a file, and by nothing else of its path.
#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <string>
#include <string_view>
#include <vector>

#include "engines/languages/languages.h"

namespace engines::languages {
namespace {

struct PathCase {
  std::string path;
  std::string_view language;  // empty: not recognised
};

void expect_detected(const std::vector<PathCase>& cases) {
  for (const PathCase& row : cases) {
    const auto found = detect_language(row.path);
    EXPECT_EQ(found.value_or(""), row.language) << "path: " << row.path;
    // An unknown language is none, never an empty name.
    EXPECT_EQ(found.has_value(), !row.language.empty()) << "path: " << row.path;
  }
}

void expect_all(std::string_view language, const std::vector<std::string>& paths) {
  for (const std::string& path : paths) expect_detected({{path, language}});
}

TEST(DetectLanguage, KnowsWhatUsersHave) {
  expect_all("python", {"a.py", "a.pyi", "a.pyw", "SConstruct"});
  expect_all("javascript", {"a.js", "a.mjs", "a.cjs", "a.jsx"});
  expect_all("typescript", {"a.ts", "a.mts", "a.cts", "a.d.ts", "a.d.mts"});
  expect_all("tsx", {"a.tsx"});
  expect_all("java", {"A.java"});
  expect_all("go", {"a.go"});
  expect_all("rust", {"a.rs"});
  expect_all("csharp", {"A.cs", "a.csx"});
  expect_all("ruby", {"a.rb", "a.rake", "a.gemspec", "config.ru", "Rakefile", "rakefile", "Gemfile",
                      "Vagrantfile"});
  expect_all("php", {"a.php", "a.phtml"});
  expect_all("sql", {"a.sql", "a.pgsql"});
  expect_all("markdown", {"README.md", "a.markdown", "a.mdown", "a.mkd", "a.mdx"});
  expect_all("xml", {"pom.xml", "a.csproj", "Directory.Build.props", "a.targets", "a.xsd", "a.xsl",
                     "a.svg", "Info.plist", "a.resx", "a.xaml", "web.config", "Web.config"});
  expect_all("json", {"a.json", "a.jsonc", "a.jsonl", "a.geojson", "a.ipynb", "composer.lock",
                      "package-lock.json"});
  expect_all("yaml", {"a.yaml", "a.yml", ".clang-format"});
  expect_all("toml", {"a.toml", "Cargo.lock", "poetry.lock", "Pipfile"});
}

TEST(DetectLanguage, ExactNamesDecideBeforeSuffixes) {
  expect_detected({
      {"Pipfile", "toml"},
      {"Pipfile.lock", "json"},
      {"pipfile", ""},  // exact means letter by letter
      {"GEMFILE", ""},
      {"Gemfile.lock", ""},    // a format of its own
      {"Gemfile.rb", "ruby"},  // falls through to its suffix
      {"my.clang-format", ""},
      {"xcomposer.lock", ""},
      {"other.lock", ""},
      {"other.config", ""},
  });
}

TEST(DetectLanguage, LongestKnownSuffixDecides) {
  expect_detected({
      {"a.json.example", "json"},
      {"a.example", ""},
      {"a.toml.example", "toml"},
      {"view.blade.php", "php"},
      {"a.yaml.json", "json"},
      {"a.json.yaml", "yaml"},
      {"a.py.bak", ""},
      {"a.py~", ""},
      {"a.rs.in", "rust"},
      {"a.cs.pp", "csharp"},
      {"a.pp", ""},
      {"a.json-tmlanguage", "json"},
      {"a.yaml-tmlanguage", "yaml"},
      {"a.tmlanguage", "xml"},
  });
}

TEST(DetectLanguage, SuffixesIgnoreAsciiCaseOnly) {
  expect_detected({
      {"A.PY", "python"},
      {"A.Py", "python"},
      {"a.JSON-tmLanguage", "json"},
      {"A.D.TS", "typescript"},
      {"a.p\xc5\xb8", ""},
      {"a.\xe2\x84\xaason", ""},  // the Kelvin sign is no k
      {"a\x0epy", ""},  // differs from a full stop by the bit that separates the cases of letters
  });
}

TEST(DetectLanguage, OnlyTheLastComponentCounts) {
  expect_detected({
      {"", ""},
      {"/", ""},
      {".", ""},
      {"..", ""},
      {"a.py/", ""},
      {"a.py//", ""},
      {"a.py/.", ""},
      {"a.py/..", ""},
      {"a.py/README", ""},
      {"a.py/b.rb", "ruby"},
      {"/a.py", "python"},
      {"//host/a.py", "python"},
      {"./a.py", "python"},
      {"a\\b.py", "python"},
      {"Gemfile/x", ""},
      {"x/Gemfile", "ruby"},
  });
}

TEST(DetectLanguage, NamesWithoutAStem) {
  expect_detected({
      {"py", ""},
      {".py", "python"},
      {".json", "json"},
      {"x/.yml", "yaml"},
      {"..py", "python"},
      {"a.", ""},
      {"a..", ""},
      {"...", ""},
      {"json", ""},
  });
}

TEST(DetectLanguage, TakesAnyBytesAndAnyLength) {
  using namespace std::string_literals;
  expect_detected({
      {"\xff\xfe.py", "python"},
      {"\x80/\xc3.rb", "ruby"},
      {"a.\xff", ""},
      {"a\0b.py"s, "python"},
      {"a.py\0"s, ""},
      {"a.py\n", ""},
      {" .py", "python"},
      {"a.py ", ""},
      {std::string(1000000, '.') + "py", "python"},
      {std::string(1000000, 'a') + ".py", "python"},
      {std::string(1000000, '/') + "a.py", "python"},
      {std::string(1000000, 'a'), ""},
  });
}

TEST(DetectLanguage, LeavesAmbiguousNamesAlone) {
  expect_all("", {"a.inc", "a.spec", "a.cgi", "a.fcgi", "a.gs", "a.res", "a.mod", "a.h", "a.pt",
                  "a.tab", "a.html", "a.txt", "a.vue", "requirements.txt", "Makefile", "BUILD"});
}

// This also proves that no name or suffix belongs to two languages.
TEST(DetectLanguage, EveryRowIsFoundAgain) {
  for (const LanguageInfo& info : language_infos()) {
    EXPECT_FALSE(info.suffixes.empty()) << info.name;
    for (const std::string_view name : info.file_names) {
      EXPECT_EQ(detect_language(name).value_or(""), info.name) << name;
      EXPECT_TRUE(explain_detection(name)->is_by_file_name) << name;
    }
    for (const std::string_view suffix : info.suffixes) {
      std::string path = "dir.x/stem" + std::string(suffix);
      EXPECT_EQ(detect_language(path).value_or(""), info.name) << path;
      std::transform(path.begin(), path.end(), path.begin(),
                     [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
      EXPECT_EQ(detect_language(path).value_or(""), info.name) << path;
      EXPECT_EQ(explain_detection(path)->by, suffix) << path;
    }
  }
}

}  // namespace
}  // namespace engines::languages
