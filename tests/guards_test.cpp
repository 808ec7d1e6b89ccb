// The guards, which end a parse that takes too much. The next parse on the thread must not notice.
//
// tests/killers has these files and many more, each in a process of its own, and says which guard
// ends each of them. Here are the other promises of the guards.
#include <gtest/gtest.h>
#include <malloc.h>
#include <pthread.h>

#include <clocale>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "engines/languages/language.h"
#include "engines/treesitter/parsing/parser.h"
#include "tests/support/inputs.h"
#include "tests/support/parse.h"
#include "tests/support/sanitizers.h"

extern "C" {
#include <lib/src/parser.h>
}

namespace engines::treesitter {
namespace {

std::string ruby_heredoc(std::size_t name_size) {
  const std::string name(name_size, 'A');
  return "x = <<" + name + "\ntext\n" + name + "\n";
}

struct Hostile {
  std::string_view language;
  std::string source;
};

const std::vector<Hostile>& hostile_sources() {
  static const std::vector<Hostile> sources = {
      // For these sixteen bytes the library loops without end.
      {"tsx", "<a {{b:>c:d(e f)"},
      {"javascript", repeated("->", 5'000)},
      // Each level has its own state, so that all of them together are quadratic.
      {"markdown", repeated(">", 30'000)},
      {"yaml", repeated("- ", 9'000) + "a\n"},
      // Markdown's scanner copies its blocks into the state without a check of the room, and YAML's
      // writes half of the last pair behind it.
      {"markdown", repeated(">", 900'000)},
      {"yaml", repeated("- ", 300'000) + "a\n"},
      // Ruby's scanner counts in 8 bits, so that a name of 256 letters has the length 0. By the
      // last source it takes letters of names for sizes of heredocs, and reads far behind its
      // state.
      {"ruby", ruby_heredoc(300)},
      {"ruby", ruby_heredoc(256)},
      {"ruby", repeated("%w(#{", 300)},
      {"ruby", repeated("f(<<\"" + repeated("\u00ff", 300) + "\",", 200)},
  };
  return sources;
}

std::string error_of(const ParseResult& result) {
  return result.errors.empty() ? "" : result.errors.front();
}

// ---- After a guard ----

TEST(GuardsTest, LeaveNothingForTheNextParse) {
  constexpr std::string_view GOOD = "# a\n\nclass A:\n  x: [1]\n  y: <<B\nB\n";
  for (const Hostile& hostile : hostile_sources()) {
    const ParseResult expected = TreeSitterEngine().parse_content(GOOD, hostile.language, "input");
    const TreeSitterEngine engine;
    for (int i = 0; i < 2; ++i) {
      EXPECT_NE(error_of(engine.parse_content(hostile.source, hostile.language, "input")), "");
      EXPECT_EQ(engine.parse_content(GOOD, hostile.language, "input"), expected)
          << hostile.language;
    }
  }
}

// The budgets are the same on a new thread and on one that has parsed before.
TEST(GuardsTest, SpeakAlikeOnAnyThread) {
  for (const Hostile& hostile : hostile_sources()) {
    const std::string here = error_of(parse(hostile.source, hostile.language));
    std::string there;
    std::thread([&] { there = error_of(parse(hostile.source, hostile.language)); }).join();
    if (has_usual_speed()) {
      EXPECT_EQ(there, here) << hostile.language;
    }
  }
}

// ---- Time ----

// Python's grammar, with `scan` as its scanner. Python's because the structures of grammars for
// older versions of the library are shorter than a TSLanguage, which is copied here.
class GrammarWithScanner {
 public:
  explicit GrammarWithScanner(bool (*scan)(void*, TSLexer*, const bool*))
      : _grammar(*languages::get_language("python")->grammar()) {
    _grammar.external_scanner.scan = scan;
    _language = std::make_unique<languages::Language>("python", &_grammar);
  }
  const languages::Language& language() const { return *_language; }

 private:
  TSLanguage _grammar;
  std::unique_ptr<languages::Language> _language;
};

// A usual fault of scanners: they wait for a character, and forget that the file may end before.
bool scan_for_ever(void* /*scanner*/, TSLexer* lexer, const bool* /*valid_symbols*/) {
  while (lexer->lookahead != '!') lexer->advance(lexer, false);
  return false;
}

TEST(TimeGuardTest, EndsAScannerThatNeverReturns) {
  const GrammarWithScanner grammar(scan_for_ever);
  Parser parser(grammar.language());
  ParseArena arena;
  const Source source("a = 1\n");
  try {
    parser.parse(source, arena);
    FAIL() << "the parse ended";
  } catch (const ParseError& error) {
    EXPECT_STREQ(error.what(), "time limit exceeded (6 bytes)");
  }
}

// ---- Room for the scanners' states ----

std::size_t symbol_count(const std::string& source, std::string_view language) {
  const ParseResult result = parse(source, language);
  EXPECT_EQ(error_of(result), "");
  return result.symbols.size();
}

TEST(ScannerStateTest, DeepNestingBeyondTheLibrarysRoom) {
  // One key within nested sequences. The state takes 20 bytes, and 8 for each sequence.
  EXPECT_EQ(symbol_count(repeated("- ", 125) + "key: 1\n", "yaml"), 1U);
  EXPECT_EQ(symbol_count(repeated("- ", 126) + "key: 1\n", "yaml"), 1U);

  // The state holds the open tags: two bytes for each.
  const std::size_t levels = IS_SANITIZED ? 700 : 2'000;
  EXPECT_EQ(symbol_count(repeated("<a>", levels) + repeated("</a>", levels), "xml"), levels);

  EXPECT_EQ(symbol_count(repeated("> ", 250) + "# heading\n", "markdown"), 1U);
}

TEST(ScannerStateTest, ManyLargeStatesThatAlternate) {
  // Each of the 300 levels has its own state, which is used again on the way out.
  std::string source;
  constexpr int LEVELS = 300;
  for (int i = 0; i < LEVELS; ++i) source += std::string(static_cast<std::size_t>(i), ' ') + "k:\n";
  for (int i = LEVELS; i-- > 0;) {
    source += std::string(static_cast<std::size_t>(i), ' ') + "l" + std::to_string(i) + ": 1\n";
  }
  EXPECT_EQ(symbol_count(source, "yaml"), 2U * LEVELS);
}

TEST(ScannerStateTest, YamlKnowsRowsBeyondSixteenBits) {
  const std::string source = "first: 1\n" + repeated("#\n", 70'000) + "last: 2\n";
  const ParseResult result = parse(source, "yaml");
  ASSERT_EQ(result.symbols.size(), 2U);
  EXPECT_EQ(result.symbols[1].name, "last");
  EXPECT_EQ(result.symbols[1].start_line, 70'002U);
}

TEST(ScannerStateTest, WhatAScannerForgetsIsNotLeaked) {
  const std::string source = repeated("SELECT $tag$ text $tag$;\n", 50);
  const auto memory_after = [&](int parses) {
    for (int i = 0; i < parses; ++i) parse(source, "sql");
    return mallinfo2().uordblks;
  };
  const std::size_t before = memory_after(10);
  EXPECT_LT(memory_after(200), before + 64 * 1024);
}

// ---- Characters ----

TEST(ScannerCharactersTest, DoNotFollowTheLocale) {
  struct Case {
    std::string_view language;
    std::string_view source;
    std::size_t symbols;
  };
  const Case cases[] = {
      {"xml", "<été>x</été>", 1},
      {"xml", "<名前/>", 1},
      {"markdown", "1\U0010FFFF\n\n# heading\n", 1},
  };
  for (const char* const locale : {"C", "C.UTF-8"}) {
    ASSERT_NE(std::setlocale(LC_ALL, locale), nullptr);
    for (const Case& c : cases) {
      EXPECT_EQ(parse(c.source, c.language).symbols.size(), c.symbols) << locale << ' ' << c.source;
    }
  }
  std::setlocale(LC_ALL, "C");
}

// ---- The native stack ----

// Runs it on a thread with a stack of 64 KiB, which is all that the engine asks for.
void on_small_stack(std::function<void()> run) {
  pthread_attr_t attributes;
  ASSERT_EQ(pthread_attr_init(&attributes), 0);
  ASSERT_EQ(pthread_attr_setstacksize(&attributes, 64 * 1024), 0);
  pthread_t thread;
  const auto start = [](void* argument) -> void* {
    (*static_cast<std::function<void()>*>(argument))();
    return nullptr;
  };
  ASSERT_EQ(pthread_create(&thread, &attributes, start, &run), 0);
  pthread_join(thread, nullptr);
  pthread_attr_destroy(&attributes);
}

TEST(StackTest, DoesNotGrowWithTheNesting) {
  if (IS_SANITIZED) GTEST_SKIP() << "instrumented frames are larger than the stack";
  struct Case {
    std::string_view language;
    std::string_view open;
    std::string_view close;
  };
  const Case cases[] = {
      {"python", "f(", ")"},
      {"python", "[", "]"},
      {"javascript", "function f() {", "}"},
      {"typescript", "class A { m() { return ", "}}"},
      {"tsx", "<a>", "</a>"},
      {"java", "class A {", "}"},
      {"go", "func() {", "}()"},
      {"rust", "mod a {", "}"},
      {"csharp", "namespace A {", "}"},
      {"ruby", "module A;", "end;"},
      {"php", "if (1) { function f() {", "}}"},
      {"sql", "SELECT (", ")"},
      {"json", "{\"a\":[", "]}"},
      {"yaml", "{a: [", "]}"},
      {"toml", "[", "]"},
  };
  for (const Case& c : cases) {
    const std::string start = c.language == "php" ? "<?php " : c.language == "toml" ? "a = " : "";
    const std::string source = start + repeated(c.open, 20'000) + repeated(c.close, 20'000);
    on_small_stack([&] {
      const TreeSitterEngine engine;
      try {
        engine.parse_content(source, c.language, "input");
      } catch (const ResultLimitError&) {
      }
    });
  }
}

// ---- The limit of a result's text ----

TEST(ResultLimitTest, NestedNamesEndInAnOrderlyError) {
  const auto nested = [](std::size_t levels) {
    return repeated("{\"key\":", levels) + "1" + std::string(levels, '}');
  };
  EXPECT_EQ(symbol_count(nested(1'000), "json"), 1'000U);
  try {
    parse(nested(100'000), "json");
    FAIL() << "a result of tens of gigabytes";
  } catch (const ResultLimitError& error) {
    // 16 MiB, and 192 bytes for each byte of the file, which has 800,001.
    EXPECT_STREQ(error.what(), "the symbols of this file hold more text than 170377408 bytes");
  }
}

// Names that are dropped as repeats do not count, however long they are.
TEST(ResultLimitTest, RepeatsDoNotCount) {
  const std::string source = "[" + repeated("{\"a\":1},", 20'000) + "0]";
  const ParseResult result =
      shared_engine().parse_content(source, "json", std::string(4'000, 'd') + "/input.json");
  EXPECT_EQ(result.symbols.size(), 1U);
}

}  // namespace
}  // namespace engines::treesitter
