// ParseItem and Outcome: what each input becomes, what an outcome holds of a file whose parse
// threw, and how soon a cancelled call ends.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <pthread.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "engines/treesitter/reading/sha256.h"
#include "tests/support/inputs.h"
#include "tests/support/parse.h"
#include "tests/support/sanitizers.h"
#include "tests/support/temporary_folder.h"

namespace engines::treesitter {
namespace {

using testing::ElementsAre;
using testing::StartsWith;

class ParseItemTest : public testing::Test {
 protected:
  std::string file(std::string_view name, std::string_view bytes) const {
    return folder.file(name, bytes);
  }

  const TemporaryFolder folder;
  const TreeSitterEngine engine;
};

constexpr std::string_view SOURCE = "def f(): return g()\n";

// parse, which throws nothing, gives the same as the operations that throw.
TEST_F(ParseItemTest, GivesWhatTheEntryPointsGive) {
  const std::string path = file("a.py", SOURCE);
  const auto result_of = [&](const ParseItem& item) {
    return std::get<ParseResult>(engine.parse(item));
  };
  const ParseResult expected = *engine.parse_file(path, 7);
  EXPECT_EQ(result_of({.path = path, .file_id = 7}), expected);
  const std::string content(SOURCE);
  EXPECT_EQ(result_of({.path = path, .file_id = 7, .content = content}), expected);
  EXPECT_EQ(engine.parse_bytes(SOURCE, "python", path, 7), expected);

  const ParseResult as_ruby = engine.parse_file(path, "ruby", 7);
  EXPECT_EQ(as_ruby.language, "ruby");
  EXPECT_EQ(result_of({.path = path, .file_id = 7, .language = "ruby"}), as_ruby);
  EXPECT_EQ(result_of({.path = path, .file_id = 7, .language = "ruby", .content = content}),
            as_ruby);
  EXPECT_EQ(engine.parse_content(SOURCE, "ruby", path, 7), as_ruby);

  const std::string missing = path + "/b.py";
  EXPECT_EQ(result_of({.path = missing}), *engine.parse_file(missing));
  const auto failed = result_of({.path = path, .language = "go", .failure = "no folder"});
  EXPECT_THAT(failed.errors, ElementsAre("no folder"));
  EXPECT_EQ(failed.language, "go");
  EXPECT_EQ(result_of({.path = path, .failure = "no folder"}).language, "");
}

TEST_F(ParseItemTest, BytesNeedNotBeUtf8AndTextMust) {
  const std::string bytes = "x = 1  # \xFF\n";
  const ParseItem blob{.path = "a.py", .content = bytes};
  EXPECT_EQ(std::get<ParseResult>(engine.parse(blob)), engine.parse_bytes(bytes, "python", "a.py"));
  const ParseItem text{.path = "a.py", .content = bytes, .is_text = true};
  EXPECT_EQ(std::get<Raised>(engine.parse(text)).kind, Raised::Kind::not_utf8);
}

TEST_F(ParseItemTest, NoLanguageAndDeclined) {
  EXPECT_EQ(std::get<NoLanguage>(engine.parse({.path = file("a.bin", "x")})).error, "");
  EXPECT_EQ(std::get<NoLanguage>(engine.parse({.path = "no", .content = "x"})).error, "");
  EXPECT_THAT(std::get<NoLanguage>(engine.parse({.path = "no"})).error,
              StartsWith("Failed to read file: [Errno 2] "));

  // To read a sparse file of terabytes would take hours.
  const std::string large = file("large.py", "");
  ASSERT_EQ(::truncate(large.c_str(), off_t{15} << 40), 0);
  const auto declined = std::get<Declined>(engine.parse({.path = large, .max_size = 64 << 20}));
  EXPECT_EQ(declined.reason, Declined::Reason::too_large);
  EXPECT_EQ(declined.size, std::uint64_t{15} << 40);

  const std::string binary = file("binary.py", std::string_view("a\0b", 3));
  EXPECT_EQ(std::get<Declined>(engine.parse({.path = binary, .declines_binary = true})).reason,
            Declined::Reason::binary);
  EXPECT_TRUE(std::holds_alternative<ParseResult>(engine.parse({.path = binary})));
  ParseItem content{.path = "a.py", .content = std::string("#\0", 2), .max_size = 2};
  EXPECT_TRUE(std::holds_alternative<ParseResult>(engine.parse(content)));
  content.declines_binary = true;
  EXPECT_EQ(std::get<Declined>(engine.parse(content)).reason, Declined::Reason::binary);
  content.max_size = 1;
  EXPECT_EQ(std::get<Declined>(engine.parse(content)).reason, Declined::Reason::too_large);
}

TEST_F(ParseItemTest, WhatIsKnownOfAFileWhoseParseRaised) {
  const std::string bad_name = "{\"\xFF\": 1}";
  const std::string nested = repeated("{\"key\":", 20'000) + "1" + repeated("}", 20'000);
  struct Case {
    ParseItem item;
    Raised::Kind kind;
    std::string hash;
  } const cases[] = {
      {{.path = file("a.json", bad_name)}, Raised::Kind::not_utf8, Sha256().of(bad_name)},
      {{.path = "b.json", .content = nested}, Raised::Kind::result_limit, Sha256().of(nested)},
      {{.path = "", .language = "json", .content = "{}"},
       Raised::Kind::invalid_path,
       Sha256().of("{}")},
  };
  for (const Case& c : cases) {
    const auto raised = std::get<Raised>(engine.parse(c.item));
    EXPECT_EQ(raised.kind, c.kind) << raised.text;
    EXPECT_EQ(raised.content_hash, c.hash);
    EXPECT_EQ(raised.language, "json");
    EXPECT_NE(raised.text, "");
    EXPECT_THROW(std::rethrow_exception(raised.error), std::exception);
  }
}

// ---- Cancelling ----

class CancelTest : public ParseItemTest {
 protected:
  // How much of the processor's time a call takes after it is cancelled. Of wall time a busy
  // machine may take any amount.
  double seconds_after_cancelling(const ParseItem& item, std::chrono::milliseconds after) const {
    std::stop_source stop;
    clockid_t own_clock{};
    EXPECT_EQ(::pthread_getcpuclockid(::pthread_self(), &own_clock), 0);
    double stopped = 0;
    std::thread other([&] {
      std::this_thread::sleep_for(after);
      stopped = processor_seconds(own_clock);
      stop.request_stop();
    });
    const Outcome outcome = engine.parse(item, {.stop = stop.get_token()});
    const double ended = processor_seconds(own_clock);
    other.join();
    const auto* const raised = std::get_if<Raised>(&outcome);
    EXPECT_TRUE(raised != nullptr && raised->kind == Raised::Kind::cancelled) << item.path;
    return ended - stopped;
  }
};

TEST_F(CancelTest, WhileReadingHashingParsingAndWalking) {
  const std::string large = file("large.py", "");
  ASSERT_EQ(::truncate(large.c_str(), off_t{15} << 40), 0);
  const std::pair<std::string, ParseItem> cases[] = {
      {"reads and hashes for hours", {.path = large}},
      {"loops for ever", {.path = "a.tsx", .content = "<a {{b:>c:d(e f)" + repeated(" ", 1 << 24)}},
      {"parses long", {.path = "a.py", .content = repeated("x = f(1)\n", 6'000'000)}},
      {"is long text", {.path = "a.md", .content = repeated("ä", 50'000'000), .is_text = true}},
  };
  for (const auto& [what, item] : cases) {
    for (const int after : {0, 30, 300}) {
      // Without a look at the cancellation each of these takes longer.
      EXPECT_LT(seconds_after_cancelling(item, std::chrono::milliseconds(after)),
                IS_SANITIZED ? 20 : 5)
          << what;
    }
  }
}

TEST_F(CancelTest, ByWhoeverIsPolled) {
  int asked = 0;
  const Outcome outcome =
      engine.parse({.path = "a.py", .content = repeated("x = f(1)\n", 1'000'000)},
                   {.poll = [&] { return ++asked == 3; }});
  EXPECT_EQ(asked, 3);
  EXPECT_EQ(std::get<Raised>(outcome).kind, Raised::Kind::cancelled);
  // The next call on the thread is not cancelled.
  EXPECT_EQ(engine.parse_content(SOURCE, "python", "a.py").symbols.size(), 1U);
}

}  // namespace
}  // namespace engines::treesitter
