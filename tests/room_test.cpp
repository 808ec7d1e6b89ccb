// The memory that all parses share: no file is lost for want of it, and no parse waits for ever.
#include "engines/treesitter/memory/room.h"

#include <gtest/gtest.h>
#include <sys/resource.h>

#include <string>
#include <thread>
#include <vector>

#include "engines/treesitter/memory/process_limits.h"
#include "tests/support/inputs.h"
#include "tests/support/parse.h"
#include "tests/support/sanitizers.h"

namespace engines::treesitter {
namespace {

// The room belongs to the process, so each test sets it back.
class RoomTest : public testing::Test {
 protected:
  ~RoomTest() override { set_memory_room(_before); }

  // The room that the item needs when nothing else is under way, to a tenth.
  std::uint64_t least_room(const ParseItem& item) const {
    for (std::uint64_t room = 1'000'000;; room += room / 10) {
      set_memory_room(room);
      if (std::get<ParseResult>(engine.parse(item)).errors.empty()) return room;
    }
  }

  const TreeSitterEngine engine;

 private:
  const std::uint64_t _before = memory_room();
};

TEST_F(RoomTest, IsThreeQuartersOfWhatTheProcessMayHave) {
  EXPECT_EQ(memory_room(), process_memory_limit() / 4 * 3);
  if (IS_SANITIZED) return;  // its shadow memory is larger than any limit
  rlimit before{};
  ASSERT_EQ(::getrlimit(RLIMIT_AS, &before), 0);
  rlimit lower = before;
  lower.rlim_cur = std::min<rlim_t>(before.rlim_cur, rlim_t{1} << 44) - 1;
  ASSERT_EQ(::setrlimit(RLIMIT_AS, &lower), 0);
  EXPECT_LE(process_memory_limit(), lower.rlim_cur);
  ASSERT_EQ(::setrlimit(RLIMIT_AS, &before), 0);
}

TEST_F(RoomTest, AFileThatCanNeverFitSaysBothNumbers) {
  const std::string content = repeated("x = f(1)\n", 8'000);
  set_memory_room(1'000'000);
  const ParseResult result = engine.parse_bytes(content, "python", "a.py");
  ASSERT_EQ(result.errors.size(), 1U);
  EXPECT_TRUE(result.errors[0].starts_with("Parse error: ")) << result.errors[0];
  EXPECT_TRUE(result.errors[0].ends_with(" bytes of memory needed, 625000 allowed to one file"))
      << result.errors[0];
  EXPECT_EQ(result.content_hash.size(), 64U);
  set_memory_room(1'000'000'000);
  EXPECT_EQ(engine.parse_bytes(content, "python", "a.py").references.size(), 8'000U);
}

TEST_F(RoomTest, WhoWaitsCanBeCancelled) {
  set_memory_room(1'000'000);
  RoomTurn first(0, never_cancelled);
  std::thread waiting([&] {
    // The room is never given back, so nothing else can end the parse.
    int asked = 0;
    const Outcome outcome = engine.parse({.path = "a.py", .content = repeated("x = 1\n", 100'000)},
                                         {.poll = [&] { return ++asked == 5; }});
    EXPECT_EQ(std::get<Raised>(outcome).kind, Raised::Kind::cancelled);
  });
  waiting.join();
}

// Files near the limit have the same outcomes whatever idle threads keep, whatever outcomes wait,
// and for any number of threads. Files that do not fit at once are parsed one after the other.
TEST_F(RoomTest, WhatBecomesOfAFileIsAMatterOfTheFileAlone) {
  std::vector<ParseItem> items;
  for (const std::size_t count : {1'900U, 2'000U, 2'100U, 100U}) {
    items.push_back({.path = "a.py", .content = repeated("x = [1, f(2)]\n", count)});
  }
  const std::uint64_t room = least_room(items[1]);
  const auto outcomes = [&] {
    std::vector<ParseResult> results;
    for (const ParseItem& item : items) {
      results.push_back(std::get<ParseResult>(engine.parse(item)));
    }
    return results;
  };
  const std::vector<ParseResult> expected = outcomes();
  ASSERT_TRUE(expected[1].errors.empty());
  set_memory_room(room * 9 / 10);
  const std::vector<ParseResult> expected_with_less = outcomes();
  ASSERT_FALSE(expected_with_less[2].errors.empty());

  // Idle threads that keep memory of larger files, and outcomes that are not taken.
  set_memory_room(1'000'000'000);
  const ParseItem large{.path = "b.py", .content = repeated("y = [g(3)]\n", 20'000)};
  ParseMany kept =
      engine.parse_many([&] { return std::optional(large); },
                        {.threads = 4, .perform = [](ParsedItem& parsed, const auto& parse) {
                           parse();
                           parsed.extra_bytes = 100'000'000;
                         }});
  ASSERT_TRUE(kept.wait_for(std::chrono::minutes(15)));
  for (const auto& [size, results] :
       {std::pair(room, expected), {room * 9 / 10, expected_with_less}}) {
    set_memory_room(size);
    EXPECT_EQ(outcomes(), results);
    constexpr std::size_t COUNT = IS_SANITIZED ? 12 : 40;
    for (const std::size_t threads : {1U, 8U}) {
      std::size_t next = 0;
      ParseMany run = engine.parse_many(
          [&] {
            const std::size_t index = next++;
            return index < COUNT ? std::optional(items[index % 4]) : std::nullopt;
          },
          {.threads = threads});
      for (std::size_t i = 0; i < COUNT; ++i) {
        ASSERT_EQ(std::get<ParseResult>(run.next()->outcome), results[i % 4]) << threads;
      }
    }
  }
}

// Memory that stayed counted would add up until nothing fits.
TEST_F(RoomTest, EverythingIsGivenBack) {
  const ParseItem item{.path = "a.py", .content = repeated("x = f(1)\n", 2'000)};
  const std::uint64_t before = least_room(item);
  set_memory_room(200'000'000);
  for (int i = 0; i < 10; ++i) {
    std::thread([] {
      const TreeSitterEngine own;
      for (const char* const path : {"a.py", "a.json"}) {
        (void)own.parse({.path = path, .content = repeated("{\"a\":[1, f(2)", 500)});
      }
    }).join();
  }
  EXPECT_EQ(least_room(item), before);
}

}  // namespace
}  // namespace engines::treesitter
