// The memory that all parses share: nobody is lost for want of it, and nobody waits for ever.
#include "engines/treesitter/core/room.h"

#include <gtest/gtest.h>
#include <sys/resource.h>

#include <string>
#include <thread>
#include <vector>

#include "engines/treesitter/core/process_limits.h"
#include "tests/support/inputs.h"
#include "tests/support/parse.h"

namespace engines::treesitter {
namespace {

// Of the whole process, so it is set back.
class RoomTest : public testing::Test {
 protected:
  ~RoomTest() override { set_memory_room(_before); }

  const TreeSitterEngine engine;

 private:
  const std::uint64_t _before = memory_room();
};

TEST_F(RoomTest, IsThreeQuartersOfWhatTheProcessMayHave) {
  EXPECT_EQ(memory_room(), process_memory_limit() / 4 * 3);
  rlimit before{};
  ASSERT_EQ(::getrlimit(RLIMIT_AS, &before), 0);
  rlimit lower = before;
  lower.rlim_cur = std::min<rlim_t>(before.rlim_cur, rlim_t{1} << 44) - 1;
  ASSERT_EQ(::setrlimit(RLIMIT_AS, &lower), 0);
  EXPECT_LE(process_memory_limit(), lower.rlim_cur);
  ASSERT_EQ(::setrlimit(RLIMIT_AS, &before), 0);
}

TEST_F(RoomTest, AFileThatCanNeverFitSaysBothNumbers) {
  const std::string content = repeated("x = f(1)\n", 20'000);
  set_memory_room(1'000'000);
  const ParseResult result = engine.parse_bytes(content, "python", "a.py");
  ASSERT_EQ(result.errors.size(), 1U);
  EXPECT_TRUE(result.errors[0].starts_with("Parse error: ")) << result.errors[0];
  EXPECT_TRUE(
      result.errors[0].ends_with(" bytes of memory needed, 1000000 allowed to this process"))
      << result.errors[0];
  EXPECT_EQ(result.content_hash.size(), 64U);
  set_memory_room(1'000'000'000);
  EXPECT_EQ(engine.parse_bytes(content, "python", "a.py").symbols.size(), 1U);
}

// Each takes some 25 MB, so that two at once find no room.
TEST_F(RoomTest, FilesThatDoNotFitTogetherComeOneByOne) {
  const std::string content = repeated("x = [1, f(2)]\n", 40'000);
  const ParseResult expected = engine.parse_bytes(content, "python", "a.py");
  set_memory_room(45'000'000);
  std::vector<ParseItem> items(12, ParseItem{.path = "a.py", .content = content});
  std::size_t next = 0;
  const auto source = [&]() -> std::optional<ParseItem> {
    return next < items.size() ? std::optional(items[next++]) : std::nullopt;
  };
  std::size_t count = 0;
  for (ParsedItem& parsed : engine.parse_many(source, {.threads = 4})) {
    const auto* const result = std::get_if<ParseResult>(&parsed.outcome);
    ASSERT_TRUE(result != nullptr);
    EXPECT_EQ(result->errors, expected.errors);
    EXPECT_EQ(*result, expected);
    ++count;
  }
  EXPECT_EQ(count, items.size());
}

TEST_F(RoomTest, WhoWaitsCanBeCancelled) {
  set_memory_room(1'000'000);
  RoomTurn first(0, never_cancelled);
  std::stop_source stop;
  std::thread waiting([&] {
    const Outcome outcome = engine.parse({.path = "a.py", .content = repeated("x = 1\n", 100'000)},
                                         {.stop = stop.get_token()});
    EXPECT_EQ(std::get<Raised>(outcome).kind, Raised::Kind::cancelled);
  });
  std::this_thread::sleep_for(std::chrono::milliseconds(20));
  stop.request_stop();
  waiting.join();
}

// Counted and given back: what is left over would grow until nothing fits.
TEST_F(RoomTest, NothingStaysCounted) {
  set_memory_room(200'000'000);
  for (int i = 0; i < 300; ++i) {
    std::thread([this] {
      const TreeSitterEngine own;
      for (const char* const path : {"a.py", "a.json", "a.tsx"}) {
        own.parse({.path = path, .content = repeated("{\"a\":[1, f(2)", 3'000)});
      }
    }).join();
  }
  set_memory_room(12'000'000);
  const ParseResult result = engine.parse_bytes(repeated("x = 1\n", 10'000), "python", "a.py");
  EXPECT_TRUE(result.errors.empty()) << result.errors[0];
}

}  // namespace
}  // namespace engines::treesitter
