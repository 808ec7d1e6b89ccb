// The parts of an index that are hard to reach through files: how numbers, words and qualified
// names are kept, when a file's times prove something, what the journal keeps of a killed run, and
// what paths tell. index_command_test.py tests the whole index.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstdint>
#include <limits>
#include <string>
#include <vector>

#include "index/file_state.h"
#include "index/index_error.h"
#include "index/journal.h"
#include "index/packed_file.h"
#include "index/paths.h"
#include "index/row_filter.h"
#include "index/varint.h"
#include "index/words.h"
#include "tests/support/temporary_folder.h"

namespace repository {
namespace {

using engines::treesitter::ParseResult;
using std::string_literals::operator""s;

TEST(IndexTest, NumbersAreKeptAsTheyAre) {
  const std::uint64_t most = std::numeric_limits<std::uint64_t>::max();
  for (const std::vector<std::uint64_t>& numbers : std::vector<std::vector<std::uint64_t>>{
           {}, {0}, {0, 0, 1}, {127, 128, 16383, 16384}, {1, most - 1, most}}) {
    EXPECT_EQ(unpack_rising(pack_rising(numbers)), numbers);
  }
  for (const std::string damaged :
       {"\x80", "\x01\xff", "\xff\xff\xff\xff\xff\xff\xff\xff\xff\xff"}) {
    EXPECT_THROW(unpack_rising(damaged), IndexError);
  }
}

TEST(IndexTest, WordsOfNames) {
  const std::vector<std::pair<std::string, std::string>> rows = {
      {"", ""},
      {"plain", "plain"},
      {"parseHTTPHeader_2", "parse HTTP Header  2"},
      {"HTTP", "HTTP"},
      {"utf8Text", "utf 8 Text"},
      {"__init__", "  init  "},
      {"größeMax", "größe Max"},
      {"a.b-c/D", "a b c D"},
  };
  for (const auto& [name, words] : rows) EXPECT_EQ(words_of(name), words);
}

// The qualified name, put together as a reader of the index does it.
std::string fqn_of(const PackedFile& packed, const PackedFile::Symbol& symbol) {
  std::string text = symbol.scope_is_all ? "" : '.' + packed.names[symbol.name];
  for (std::int64_t scope = symbol.scope; scope != PackedFile::NO_SCOPE;
       scope = packed.scopes[static_cast<std::size_t>(scope)].parent) {
    text.insert(0, '.' + packed.names[packed.scopes[static_cast<std::size_t>(scope)].name]);
  }
  return "src.a" + text;
}

TEST(IndexTest, QualifiedNamesAreRestoredExactly) {
  const std::vector<std::pair<std::string, std::string>> rows = {
      {"C", "src.a.C"},       {"f", "src.a.C.f"},       {"f", "src.a.C.D.f"},
      {"", "src.a."},         {"", "src.a.C."},         {".", "src.a.."},
      {"x", "src.a..x"},      {"b.c", "src.a.C.b.c"},   {".d", "src.a.C..d"},
      {"other", "src.a.C.f"}, {"f", "src.a.Cf"},        {"C.f", "src.a.f"},
      {"a", "src.a.a"},       {"n\0l"s, "src.a.n\0l"s}, {"f", "src.a.C.C.C.f"},
  };
  ParseResult result{};
  result.path = "./src//a.py";
  for (const auto& [name, fqn] : rows) {
    result.symbols.emplace_back(engines::models::SymbolArguments{
        std::nullopt, 0, name, "class", fqn, 3, 5, std::nullopt, true, "doc", std::nullopt});
  }
  const PackedFile packed = pack(result);
  ASSERT_EQ(packed.symbols.size(), rows.size());
  EXPECT_TRUE(result.symbols.empty());
  for (std::size_t i = 0; i < rows.size(); ++i) {
    EXPECT_EQ(packed.names[packed.symbols[i].name], rows[i].first);
    EXPECT_EQ(fqn_of(packed, packed.symbols[i]), rows[i].second);
  }
  for (std::size_t i = 0; i < packed.scopes.size(); ++i) {
    EXPECT_LT(packed.scopes[i].parent, static_cast<std::int64_t>(i));
  }
}

TEST(IndexTest, ReferencesOfOneNameAndKindAreOne) {
  ParseResult result{};
  result.path = "a.py";
  result.references = {
      {"f", 9, "call"}, {"f", 3, "call"}, {"f", 3, "import"}, {"g", 1, "type"}, {"f", 300, "call"}};
  const PackedFile packed = pack(result);
  std::vector<std::string> uses;
  for (const auto& reference : packed.references) {
    std::string use = packed.names[reference.name] + std::to_string(reference.kind);
    for (const auto line : unpack_rising(reference.lines)) use += ' ' + std::to_string(line);
    uses.push_back(use);
  }
  EXPECT_THAT(uses, testing::UnorderedElementsAre("f0 3 9 300", "f1 3", "g3 1"));
}

TEST(IndexTest, WhenTimesProveThatAFileIsAsItWas) {
  constexpr std::int64_t SECOND = 1'000'000'000;
  struct Row {
    std::int64_t mtime, ctime, since;
    bool is_proof;
  };
  for (const Row& row :
       {Row{10, 20, 21, true}, Row{10, 20, 20, false}, Row{30, 20, 25, false},
        // The file system may keep whole seconds only.
        Row{10, 5 * SECOND, 5 * SECOND + 1, false}, Row{10, 5 * SECOND, 7 * SECOND, false},
        Row{10, 5 * SECOND, 7 * SECOND + 1, true},
        // Programs can set mtime, but not ctime.
        Row{5 * SECOND, 5 * SECOND + 1, 5 * SECOND + 2, true}}) {
    EXPECT_EQ((FileState{1, row.mtime, row.ctime, 1}.is_proof(row.since)), row.is_proof)
        << row.mtime << ' ' << row.ctime << ' ' << row.since;
  }
}

TEST(IndexTest, JournalKeepsWhatWasUnderWay) {
  const engines::treesitter::TemporaryFolder folder;
  const std::string database = folder.path("x");
  const std::string longest(8191, 'l');
  const pid_t child = ::fork();
  if (child == 0) {
    Journal journal(database);
    const Journal::Entry first(journal, "done.py");
    {
      const Journal::Entry second(journal, "a longer one.py");
      const Journal::Entry third(journal, longest);
      const Journal::Entry too_long(journal, longest + "l");
      const Journal::Entry fourth(journal, "d.py");
      if (journal.left().empty()) ::_exit(0);
    }
    ::_exit(1);
  }
  int status = -1;
  ASSERT_EQ(::waitpid(child, &status, 0), child);
  ASSERT_EQ(status, 0);
  {
    Journal journal(database);
    EXPECT_THAT(journal.left(),
                testing::ElementsAre("done.py", "a longer one.py", longest, "d.py"));
    journal.clear();
    { const Journal::Entry entry(journal, "a longer one.py"); }
    { const Journal::Entry entry(journal, "b.py"); }
  }
  EXPECT_THAT(Journal(database).left(), testing::IsEmpty());
}

// Each row has a file that the module may be, and one that it may not be.
TEST(IndexTest, WhichFilesAModuleMayBe) {
  struct Row {
    std::string module, asking, may_be, may_not_be;
  };
  std::string many_roots;
  for (int i = 0; i < 200'000; ++i) many_roots += "self::";
  for (const Row& row : std::vector<Row>{
           {"pkg.mod", "a.py", "src/pkg/mod.py", "pkg/other.py"},
           {"pkg", "a.py", "src/pkg/__init__.py", "src/apkg/__init__.py"},
           {".mod", "src/pkg/a.py", "src/pkg/mod.py", "src/mod.py"},
           {"..mod", "src/pkg/a.py", "src/mod.py", "src/pkg/mod.py"},
           {"....mod", "a.py", "mod.py", "b.py"},
           {"./util", "web/a.ts", "web/util.ts", "util.ts"},
           {"../util.js", "web/x/a.ts", "web/util.ts", "web/x/util.ts"},
           {"./util", "a.ts", "util/index.ts", "web/x.ts"},
           {"'./a.b'", "x/a.ts", "x/a.b.ts", "x/a.ts"},
           {"@scope/kit/part", "a.ts", "kit/part.ts", "kit/parts.ts"},
           {"com.foo.Bar", "A.java", "src/main/java/com/foo/Bar.java", "com/bar/Foo.java"},
           {"github.com/x/y/shelf", "a.go", "shelf/b.go", "other/shelf.d/b.go"},
           {"crate::a::b", "src/x.rs", "src/a/b/mod.rs", "src/b/a.rs"},
           {many_roots + "a", "src/x.rs", "src/a.rs", "src/b.rs"},  // took minutes when quadratic
           {"App\\Models\\User", "x.php", "src/App/Models/User.php", "App/User.php"},
           {"<sys/stat>", "a.rb", "x/sys/stat.rb", "stat.rb"},
       }) {
    const Components module = module_components(row.module, row.asking);
    EXPECT_TRUE(may_be(module, file_components(row.may_be))) << row.module;
    EXPECT_FALSE(may_be(module, file_components(row.may_not_be))) << row.module;
  }
  for (const std::string nothing : {"", "'", "...", "::", "/", "./", "\"\""}) {
    EXPECT_FALSE(may_be(module_components(nothing, "a.py"), file_components("x/y.py"))) << nothing;
  }
}

TEST(IndexTest, WhichPathsAreTests) {
  for (const std::string path : {"tests/a.py", "a_test.go", "src/UserTest.java", "x/__tests__/a.ts",
                                 "web/a.spec.ts", "SPEC/a.rb", "a/test-data/b.json"}) {
    EXPECT_TRUE(is_test_path(path)) << path;
  }
  for (const std::string path :
       {"", "src/latest.py", "contest/a.py", "inspect.go", "attestation"}) {
    EXPECT_FALSE(is_test_path(path)) << path;
  }
}

TEST(IndexTest, WhichPathsAGlobNames) {
  for (const auto& [glob, in, out] :
       std::vector<std::array<std::string, 3>>{{"src", "src/a.py", "source/a.py"},
                                               {"src/", "x/src/a.py", "x/asrc/a.py"},
                                               {"*.py", "x/y/a.py", "x/a.pyc"},
                                               {"/src", "src/x/a.py", "x/src/a.py"},
                                               {"./src/*.py", "src/a.py", "src/x/a.py"},
                                               {"src/**/a.py", "src/x/y/a.py", "x/src/a.py"},
                                               {"s?c/x", "src/x/y/a.py", "src/y/x"},
                                               {"[id]", "d", "id"}}) {
    EXPECT_TRUE(is_in(in, glob)) << glob;
    EXPECT_FALSE(is_in(out, glob)) << glob;
  }
}

}  // namespace
}  // namespace repository
