// The golden cases. Each is a folder tests/golden/<language>/<case> with a source "input.<suffix>"
// and the entries that the tool prints for it, "expected.txt" (tool/text_output.h). If there is a
// "navigation.txt", it holds those of the navigation rules. Folders are found, not registered; the
// name of a case says what it shows.
//
//   golden_tests                      compares
//   golden_tests --update             rewrites every expectation that differs, and names it
//   golden_tests --update ruby/       ... only of cases whose language/name has this in it
//
// Review a rewritten expectation like code: it states what the engine must do.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <string>
#include <string_view>
#include <vector>

#include "engines/languages/languages.h"
#include "engines/treesitter/treesitter.h"
#include "tool/escape.h"
#include "tool/text_output.h"

namespace {

namespace fs = std::filesystem;
using engines::treesitter::Rules;
using engines::treesitter::TreeSitterEngine;

const fs::path GOLDEN_FOLDER = fs::path(TESTS_DIR) / "golden";

struct Case {
  std::string language;
  std::string name;
  Rules rules = Rules::standard;

  fs::path folder() const { return GOLDEN_FOLDER / language / name; }
  fs::path expectation() const {
    return folder() / (rules == Rules::standard ? "expected.txt" : "navigation.txt");
  }
  bool operator<(const Case& other) const { return expectation() < other.expectation(); }
};

// GoogleTest prints a parameter by this.
void PrintTo(const Case& shown, std::ostream* out) { *out << shown.expectation(); }

std::vector<Case> find_cases() {
  std::vector<Case> cases;
  for (const auto& language : fs::directory_iterator(GOLDEN_FOLDER)) {
    if (!language.is_directory()) continue;  // .gitattributes
    for (const auto& entry : fs::directory_iterator(language.path())) {
      Case golden{language.path().filename(), entry.path().filename()};
      cases.push_back(golden);
      golden.rules = Rules::navigation;
      if (fs::exists(golden.expectation())) cases.push_back(golden);
    }
  }
  std::sort(cases.begin(), cases.end());
  return cases;
}

// The source's name, such as "input.py".
std::string input_name(const Case& golden) {
  for (const auto& entry : fs::directory_iterator(golden.folder())) {
    std::string name = entry.path().filename();
    if (name.starts_with("input.")) return name;
  }
  return "input";
}

// Parses in the case's folder, so that each qualified name begins with "input".
std::string entries_of(const Case& golden) {
  static const TreeSitterEngine standard;
  static const TreeSitterEngine navigation(Rules::navigation);
  const TreeSitterEngine& engine = golden.rules == Rules::standard ? standard : navigation;
  fs::current_path(golden.folder());
  std::string text;
  try {
    const auto result = engine.parse_file(input_name(golden));
    if (!result || result->language != golden.language) return "no " + golden.language + " file\n";
    tool::StringSink sink(text);
    tool::write_text_entries(sink, *result);
  } catch (const std::exception& error) {
    text = "raised " + tool::escaped(error.what()) + '\n';
  }
  return text;
}

std::string read(const fs::path& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

class Golden : public testing::TestWithParam<Case> {};

TEST_P(Golden, IsAsExpected) {
  ASSERT_TRUE(fs::exists(GetParam().expectation()))
      << "no expectation yet: run golden_tests --update, and review what it writes";
  EXPECT_EQ(read(GetParam().expectation()), entries_of(GetParam()));
}

std::string test_name(const testing::TestParamInfo<Case>& tested) {
  return tested.param.language + '_' + tested.param.name +
         (tested.param.rules == Rules::standard ? "" : "_navigation");
}

TEST(GoldenFolders, EveryLanguageHasOne) {
  for (const std::string_view language : engines::languages::language_names()) {
    EXPECT_TRUE(fs::is_directory(GOLDEN_FOLDER / language)) << language;
  }
}

INSTANTIATE_TEST_SUITE_P(Cases, Golden, testing::ValuesIn(find_cases()), test_name);

int update(std::string_view part) {
  for (const auto& golden : find_cases()) {
    const std::string name = golden.language + '/' + golden.name;
    if (name.find(part) == std::string::npos) continue;
    const std::string entries = entries_of(golden);
    if (fs::exists(golden.expectation()) && read(golden.expectation()) == entries) continue;
    std::ofstream(golden.expectation(), std::ios::binary) << entries;
    std::cout << "updated " << name << '\n';
  }
  return 0;
}

}  // namespace

int main(int count, char** arguments) {
  testing::InitGoogleTest(&count, arguments);
  if (count > 1 && std::string_view(arguments[1]) == "--update") {
    return update(count > 2 ? arguments[2] : "");
  }
  return RUN_ALL_TESTS();
}
