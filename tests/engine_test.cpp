// The two entry points: their results, what each failure becomes, and what is logged.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "engines/treesitter/core/thread_storage.h"
#include "engines/treesitter/parsing/parser.h"
#include "engines/treesitter/reading/file.h"
#include "tests/support/engine_peer.h"
#include "tests/support/parse.h"
#include "tests/support/parsed_tree.h"
#include "tests/support/sanitizers.h"
#include "tests/support/temporary_folder.h"

namespace engines::treesitter {
namespace {

namespace fs = std::filesystem;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using ::testing::StartsWith;

// Keeps the records as texts, "warning: Failed to read file a.py: …", and the texts of their
// errors.
class Log : public LogSink {
 public:
  Log() : _before(set_log_sink(this)) {}
  ~Log() override { set_log_sink(_before); }

  bool is_enabled(LogLevel level) noexcept override { return level >= least; }
  void emit(const LogRecord& record) noexcept override {
    const std::string level = record.level == LogLevel::debug ? "debug: " : "warning: ";
    lines.push_back(level + format_record(record));
    if (!record.error) return;
    try {
      std::rethrow_exception(record.error);
    } catch (const std::exception& error) {
      errors.emplace_back(error.what());
    }
  }

  LogLevel least = LogLevel::debug;
  std::vector<std::string> lines;
  std::vector<std::string> errors;

 private:
  LogSink* const _before;
};

class EngineTest : public testing::Test {
 protected:
  fs::path file(std::string_view name, std::string_view bytes) const {
    return _temporary.file(name, bytes);
  }

 private:
  const TemporaryFolder _temporary;

 protected:
  Log log;
  const fs::path folder = _temporary.path();
  const TreeSitterEngine engine;
};

// For this text the parser of TSX loops without end; a guard ends it.
constexpr std::string_view HOSTILE_TSX = "<a {{b:>c:d(e f)";

std::vector<std::string> fqns(const ParseResult& result) {
  std::vector<std::string> all;
  for (const models::Symbol& symbol : result.symbols) all.push_back(symbol.fqn);
  return all;
}

// ---- Failures ----

TEST_F(EngineTest, UnknownLanguageIsNoResult) {
  EnginePeer::_get_thread_local_storage(engine).ruby_visibility_cache[{0, 0}] = {};
  EXPECT_EQ(engine.parse_file(folder / "missing.unknown"), std::nullopt);
  EXPECT_EQ(engine.parse_file(file("a.unknown", "x")), std::nullopt);
  EXPECT_EQ(engine.parse_file(""), std::nullopt);
  EXPECT_THAT(log.lines, IsEmpty());
  // Each call empties the cache first, even one that ends early.
  EXPECT_THAT(EnginePeer::_get_thread_local_storage(engine).ruby_visibility_cache, IsEmpty());
}

TEST_F(EngineTest, UnreadableFile) {
  fs::create_directory(folder / "folder.go");
  for (const char* name : {"missing.go", "folder.go"}) {
    const std::string path = folder / name;
    log.lines.clear();
    log.errors.clear();
    const auto result = engine.parse_file(path, 3).value();
    EXPECT_EQ(result.path, path);
    EXPECT_EQ(result.language, "go");
    EXPECT_EQ(result.content_hash, "");
    EXPECT_THAT(result.symbols, IsEmpty());
    EXPECT_THAT(result.references, IsEmpty());
    ASSERT_THAT(log.errors, SizeIs(1));
    EXPECT_THAT(log.errors[0], StartsWith("[Errno "));
    EXPECT_THAT(result.errors, ElementsAre("Failed to read file: " + log.errors[0]));
    EXPECT_THAT(log.lines,
                ElementsAre("warning: Failed to read file " + path + ": " + log.errors[0]));
  }
}

TEST_F(EngineTest, NoGrammar) {
  for (int i = 0; i < 2; ++i) {
    log.lines.clear();
    const auto result = engine.parse_content("abc", "cobol", "a//b.cob");
    EXPECT_EQ(result.path, "a//b.cob");
    EXPECT_EQ(result.language, "cobol");
    EXPECT_EQ(result.content_hash,
              "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
    EXPECT_THAT(result.symbols, IsEmpty());
    EXPECT_THAT(result.references, IsEmpty());
    EXPECT_THAT(result.errors, ElementsAre("No parser available for cobol"));
    // Logged each time: a missing grammar is not remembered.
    EXPECT_THAT(log.lines,
                ElementsAre("debug: No tree-sitter grammar available for language=cobol",
                            "debug: No parser available for language=cobol path=a//b.cob"));
  }
  EXPECT_THAT(engine.parse_content("", "Python", "a.py").errors,
              ElementsAre("No parser available for Python"));
}

TEST_F(EngineTest, ParserThatGivesUp) {
  const std::string path = file("a.tsx", HOSTILE_TSX);
  const auto expect_failed = [&](const ParseResult& result, const std::string& named) {
    EXPECT_EQ(result.path, path);
    EXPECT_EQ(result.language, "tsx");
    EXPECT_EQ(result.content_hash, Sha256().of(HOSTILE_TSX));
    EXPECT_THAT(result.symbols, IsEmpty());
    EXPECT_THAT(result.references, IsEmpty());
    ASSERT_THAT(log.errors, SizeIs(1));
    EXPECT_THAT(result.errors, ElementsAre("Parse error: " + log.errors[0]));
    EXPECT_THAT(log.lines, ElementsAre("warning: Tree-sitter parse error for " + named + path +
                                       " language=tsx: " + log.errors[0]));
    log.lines.clear();
    log.errors.clear();
  };
  expect_failed(engine.parse_file(path).value(), "file=");
  expect_failed(engine.parse_content(HOSTILE_TSX, "tsx", path), "path=");
  // The thread's parser works as before.
  EXPECT_THAT(engine.parse_content("class A {}", "tsx", "a.tsx").symbols, SizeIs(1));
}

// Want of memory within the library reaches the caller as an exception: it says nothing of the
// file.
TEST_F(EngineTest, ParserWithoutMemory) {
  if (IS_SANITIZED) GTEST_SKIP() << "sanitizers need more address space than this test leaves";
  const std::string source(1'500'000, '[');
  EXPECT_GT(memory_room(), 320U << 20);  // asked now, before the limit is set
  const pid_t child = ::fork();
  if (child == 0) {
    const rlimit limit{320 << 20, 320 << 20};
    if (::setrlimit(RLIMIT_AS, &limit) != 0) ::_exit(2);
    bool is_thrown = false;
    try {
      engine.parse_content(source, "json", "a.json");
    } catch (const std::bad_alloc&) {
      is_thrown = true;
    }
    const bool works_on = engine.parse_content("[]", "json", "a.json").errors.empty();
    ::_exit(is_thrown && works_on ? 0 : 1);
  }
  int status = 0;
  ASSERT_EQ(::waitpid(child, &status, 0), child);
  EXPECT_EQ(status, 0);
}

TEST_F(EngineTest, TextThatIsNoUtf8) {
  // UTF-8 is checked before the language.
  EXPECT_THROW(engine.parse_content("\xFF", "cobol", "a"), Utf8Error);
  EXPECT_THAT(log.lines, IsEmpty());
}

// What a walk throws reaches the caller, and is not logged.
TEST_F(EngineTest, FailuresInsideAWalk) {
  EXPECT_THROW(engine.parse_file(file("a.json", "{\"\xFF\": 1}")), Utf8Error);
  // In the walk for references, which takes the comment for a part of the name.
  EXPECT_THROW(engine.parse_file(file("a.cs", "using A./*\xFF*/B;")), Utf8Error);
  // A path without a last component fails only when the prefix of names is made from it.
  for (const char* path : {"", "/", ".", "./", "//."}) {
    EXPECT_THROW(engine.parse_content("x", "python", path), std::invalid_argument) << path;
    EXPECT_THAT(engine.parse_content("x", "cobol", path).errors, SizeIs(1));
  }
  log.lines.clear();
  EXPECT_THROW(engine.parse_content("x", "python", ""), std::invalid_argument);
  EXPECT_THAT(log.lines, IsEmpty());
}

TEST_F(EngineTest, RecordsThatNobodyWants) {
  log.least = LogLevel::warning;
  engine.parse_content("x", "cobol", "a");
  EXPECT_THAT(log.lines, IsEmpty());
  engine.parse_file(folder / "missing.go");
  EXPECT_THAT(log.lines, SizeIs(1));
  LogSink* const sink = set_log_sink(nullptr);
  EXPECT_EQ(sink, &log);
  engine.parse_file(folder / "missing.go");
  EXPECT_EQ(set_log_sink(sink), nullptr);
  EXPECT_THAT(log.lines, SizeIs(1));
}

TEST(LogTest, FormatsTakeTheirArgumentsInOrder) {
  EXPECT_EQ(format_record({LogLevel::debug, "%s and %s%s.", {"%s", "b", ""}, nullptr}),
            "%s and b.");
  EXPECT_EQ(format_record({LogLevel::debug, "100%", {}, nullptr}), "100%");
}

// ---- Files of 4 GiB and more ----

TEST_F(EngineTest, HugeFilesAreRefusedByTheirSize) {
  try {
    refuse_size(MAX_PARSED_BYTES + 1);
    FAIL();
  } catch (const ParseError& error) {
    EXPECT_STREQ(error.what(), "file is too large to parse (4294967296 bytes)");
  }
}

// Hashing takes some ten seconds, so this needs --gtest_also_run_disabled_tests.
TEST_F(EngineTest, DISABLED_HugeFilesAreDigestedAndRefused) {
  const fs::path path = file("a.json", "");
  fs::resize_file(path, MAX_PARSED_BYTES + 1);
  const auto result = engine.parse_file(path).value();
  // As printed by `head -c 4294967296 /dev/zero | sha256sum`.
  EXPECT_EQ(result.content_hash,
            "8479e43911dc45e89f934fe48d01297e16f51d17aa561d4d1c216b1ae0fcddca");
  EXPECT_THAT(result.errors,
              ElementsAre("Parse error: file is too large to parse (4294967296 bytes)"));
}

// ---- Results ----

TEST_F(EngineTest, BothEntryPointsGiveTheSame) {
  const std::string source = "class A:\n  def f(self): return g(1)\n";
  const auto of_file = engine.parse_file(file("a.py", source), 5).value();
  auto of_content = engine.parse_content(source, "python", (folder / "a.py").native(), 5);
  EXPECT_EQ(of_file, of_content);
  EXPECT_EQ(of_file.content_hash, Sha256().of(source));
  ASSERT_THAT(of_file.symbols, SizeIs(2));
  EXPECT_EQ(of_file.symbols[1].file_id, 5);
  EXPECT_EQ(of_file.symbols[1].id, std::nullopt);
  EXPECT_EQ(engine.parse_content(source, "python", "a.py").symbols[0].file_id, 0);
  EXPECT_THAT(log.lines, IsEmpty());
}

TEST_F(EngineTest, ThePathIsGivenBackAsItCame) {
  EXPECT_EQ(engine.parse_content("", "python", "./a//b/../c.py/").path, "./a//b/../c.py/");
  const std::string odd = folder.native() + "/.//a\xFF.py";
  std::ofstream(odd) << "def f(): pass";
  const auto result = engine.parse_file(odd).value();
  EXPECT_EQ(result.path, odd);
  ASSERT_THAT(result.symbols, SizeIs(1));
  EXPECT_TRUE(result.symbols[0].fqn.ends_with(".a\xFF.f"));
}

TEST_F(EngineTest, ANulIsAByteLikeOthers) {
  using namespace std::string_view_literals;
  const auto result = engine.parse_content("# \0\nclass A\0: pass\n"sv, "python", "a.py");
  ASSERT_THAT(result.symbols, SizeIs(1));
  EXPECT_EQ(result.symbols[0].signature, "class A\0: pass"sv);
}

TEST_F(EngineTest, PathsBecomePrefixes) {
  const std::vector<std::pair<std::string_view, std::string_view>> cases = {
      {"src/pkg/mod.py", "src.pkg.mod"},
      {"/abs/x.py", "abs.x"},
      {"../up/m.rb", "up.m"},
      {"cfg/.eslintrc.json", "cfg..eslintrc"},
      {"Makefile", "Makefile"},
      {"C:\\proj\\a.ts", "C:.proj.a"},
      // One suffix of the last component is removed. Its full stop must not begin or end the
      // component.
      {"a.tar.gz", "a.tar"},
      {"a.b/c", "a.b.c"},
      {".bashrc", "bashrc"},
      {"a/.b", "a..b"},
      {"a.", "a."},
      {"a..", "a.."},
      {"a..py", "a."},
      {"...", ""},
      {"..", ""},
      {"a/..", "a..."},
      {"a/...py", "a..."},
      {"..py", ""},
      // Paths are brought into a normal form.
      {"./a.py", "a"},
      {"a/./b.py", "a.b"},
      {"a//b.py", "a.b"},
      {"//a.py", "a"},
      {"a/b.py/", "a.b"},
      {"a/b.py/.", "a.b"},
      {"a/../b.py", "a....b"},
      {"\\\\host\\a.py", "host.a"},
      {" .py", " "},
      {"é/字.py", "é.字"},
  };
  for (const auto& [path, prefix] : cases) {
    EXPECT_EQ(EnginePeer::_path_to_fqn(path), prefix) << path;
  }
  for (const char* path : {"", "/", ".", "./.", "//"}) {
    EXPECT_THROW(EnginePeer::_path_to_fqn(path), std::invalid_argument) << path;
  }
  // After an empty prefix the full stop stays.
  EXPECT_THAT(fqns(engine.parse_content("def f(): pass", "python", "..")), ElementsAre(".f"));
}

// ---- Strict texts ----

TEST(NodeTextTest, StrictAndNeverEmpty) {
  const auto text_of = [](std::string_view source) {
    const ParsedTree tree(source, "json");
    const std::vector<Node> contents = tree.nodes(NodeType::string);
    return std::string(_node_text(contents.at(0)).value_or("(none)"));
  };
  EXPECT_EQ(text_of("\"\xC3\xA9\""), "\"\u00E9\"");
  EXPECT_EQ(text_of("\"\""), "\"\"");
  EXPECT_THROW(text_of("\"\xE9\""), Utf8Error);
  // A missing node spans no bytes.
  const ParsedTree tree("[1", "json");
  const SyntaxTree& nodes = tree.root().tree();
  const Node last(nodes, nodes.size() - 1);
  EXPECT_EQ(last.type_text(), "]");
  EXPECT_EQ(_node_text(last), std::nullopt);
}

TEST_F(EngineTest, NamesAreDecodedStrictly) {
  const auto outcome = [&](std::string_view name, std::string_view bytes) {
    try {
      engine.parse_file(file(name, bytes));
      return std::string("fine");
    } catch (const Utf8Error& error) {
      return std::string(error.what());
    }
  };
  // Texts that no rule reads may hold any bytes.
  EXPECT_EQ(outcome("a.json", "{\"a\": \"\xFF\"}"), "fine");
  EXPECT_EQ(outcome("a.py", "# \xFF\nx = '\xFF'\ndef f():\n  '\xFF'\n  g('\xFF')\n"), "fine");
  // The positions in the error count from the beginning of the name.
  EXPECT_EQ(outcome("a.json", "{\"ok\": {\"\xE2\x82\": 1}}"),
            "'utf-8' codec can't decode bytes in position 1-2: invalid continuation byte");
}

}  // namespace
}  // namespace engines::treesitter
