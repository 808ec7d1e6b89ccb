// parse_many: outcomes come in order, items are taken lazily and not far ahead, and none is lost.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>

#include <atomic>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "tests/support/inputs.h"
#include "tests/support/parse.h"
#include "tests/support/temporary_folder.h"

namespace engines::treesitter {
namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::Ge;
using testing::Le;

const std::string SLOW = repeated("x = f(1)\n", 3'000);

std::vector<ParseItem> mixed_items() {
  std::vector<ParseItem> items;
  for (const Input& input : inputs()) {
    const auto number = static_cast<std::int64_t>(items.size());
    items.push_back({.path = input.name, .file_id = number, .content = input.bytes});
    if (number % 5 == 0) items.push_back({.path = "no/such.py"});
    if (number % 7 == 0) items.push_back({.path = "none"});
    if (number % 9 == 0) items.push_back({.path = "a.json", .content = "{\"\xFF\": 1}"});
  }
  return items;
}

ParseMany::Source source_of(std::vector<ParseItem> items) {
  return [items = std::move(items), next = std::size_t{0}]() mutable -> std::optional<ParseItem> {
    return next < items.size() ? std::optional(items[next++]) : std::nullopt;
  };
}

// A text that is different for different outcomes.
std::string text_of(const Outcome& outcome) {
  if (const auto* const result = std::get_if<ParseResult>(&outcome)) {
    std::string text = result->path + result->content_hash;
    for (const auto& symbol : result->symbols) text += symbol.fqn + ' ';
    for (const auto& error : result->errors) text += error;
    return text;
  }
  if (const auto* const raised = std::get_if<Raised>(&outcome)) return raised->text;
  return "no language";
}

TEST(ParseManyTest, GivesOutcomesInTheOrderOfTheItems) {
  const TreeSitterEngine engine;
  const std::vector<ParseItem> items = mixed_items();
  std::vector<std::string> expected;
  for (const ParseItem& item : items) expected.push_back(item.path + text_of(engine.parse(item)));
  for (const std::size_t threads : {1U, 2U, 7U, 0U}) {
    std::vector<std::string> given;
    for (const ParsedItem& parsed : engine.parse_many(source_of(items), {.threads = threads})) {
      EXPECT_FALSE(parsed.item.content);
      given.push_back(parsed.item.path + text_of(parsed.outcome));
    }
    EXPECT_EQ(given, expected) << threads;
  }
  EXPECT_FALSE(engine.parse_many(std::vector<std::string>{}).next());
}

TEST(ParseManyTest, NextParsesItselfWhenToldTo) {
  const TreeSitterEngine engine;
  const std::vector<ParseItem> items = mixed_items();
  std::size_t given = 0;
  const auto here = std::this_thread::get_id();
  ParseMany run = engine.parse_many(
      [&]() -> std::optional<ParseItem> {
        EXPECT_EQ(std::this_thread::get_id(), here);
        if (given == items.size()) return std::nullopt;
        return items[given++];
      },
      {.in_caller = true, .perform = [&](ParsedItem&, const auto& parse) {
         EXPECT_EQ(std::this_thread::get_id(), here);
         parse();
       }});
  for (std::size_t taken = 0; taken < items.size();) {
    EXPECT_TRUE(run.wait_for(std::chrono::hours(1)));
    EXPECT_EQ(given, taken);
    EXPECT_EQ(text_of(run.next()->outcome), text_of(engine.parse(items[taken])));
    ++taken;
  }
  EXPECT_FALSE(run.next());
}

TEST(ParseManyTest, TakesItemsAsOutcomesAreTaken) {
  const TreeSitterEngine engine;
  for (const std::size_t threads : {1U, 3U}) {
    std::atomic<std::size_t> given = 0;
    ParseMany run = engine.parse_many(
        [&]() -> std::optional<ParseItem> {
          return ParseItem{.path = "a.py", .content = given++ == 0 ? SLOW : "x = 1\n"};
        },
        {.threads = threads});
    EXPECT_EQ(given, 0U);
    for (std::size_t taken = 1; taken < 100; ++taken) {
      ASSERT_TRUE(run.next());
      EXPECT_THAT(given.load(), AllOf(Ge(taken), Le(taken + 16 * threads + 1)));
    }
  }
}

TEST(ParseManyTest, HoldsFewOutcomesThatNobodyTakes) {
  const TreeSitterEngine engine;
  // Some 12 MB of names each.
  const std::uint64_t before = memory_room();
  set_memory_room(64 << 20);
  std::atomic<int> given = 0;
  const std::string nested = repeated("{\"k\":", 3'500) + "1" + repeated("}", 3'500);
  {
    ParseMany run = engine.parse_many(
        [&]() -> std::optional<ParseItem> {
          ++given;
          return ParseItem{.path = "a.json", .content = nested};
        },
        {.threads = 2});
    ASSERT_TRUE(run.wait_for(std::chrono::minutes(15)));
    std::this_thread::sleep_for(std::chrono::milliseconds(300));
    EXPECT_LE(given, 6);
    for (int i = 0; i < 20; ++i) EXPECT_TRUE(run.next());
  }
  set_memory_room(before);
}

TEST(ParseManyTest, WhatTheSourceThrowsComesInItsPlace) {
  const TreeSitterEngine engine;
  for (int round = 0; round < 50; ++round) {
    int given = 0;
    {
      ParseMany run = engine.parse_many(
          [&]() -> std::optional<ParseItem> {
            if (given++ == 3) throw std::runtime_error("no more");
            return ParseItem{.path = "a.py", .content = round == 0 ? SLOW : "x"};
          },
          {.threads = round % 2 == 0 ? 4U : 1U});
      for (int i = 0; i < 3; ++i) EXPECT_TRUE(run.next());
      EXPECT_THROW(run.next(), std::runtime_error);
      EXPECT_FALSE(run.next());
    }
    EXPECT_EQ(given, 4);  // a source that has failed is not asked again
  }
}

TEST(ParseManyTest, PerformHasTheItemBeforeAndAfterItIsParsed) {
  const TreeSitterEngine engine;
  std::vector<ParseItem> items(50, ParseItem{.path = "a.py", .content = "x = 1\n"});
  items[20].path = "b.py";
  ParseMany run = engine.parse_many(
      source_of(items), {.threads = 3, .perform = [](ParsedItem& parsed, const auto& parse) {
                           if (parsed.item.path == "b.py") throw std::runtime_error("not this");
                           parse();
                           parsed.extra = text_of(parsed.outcome);
                         }});
  for (std::size_t i = 0; i < items.size(); ++i) {
    const ParsedItem parsed = run.next().value();
    if (i == 20) {
      EXPECT_EQ(std::get<Raised>(parsed.outcome).text, "not this");
    } else {
      EXPECT_EQ(std::any_cast<std::string>(parsed.extra), text_of(parsed.outcome));
    }
  }
}

ParseMany::UnderWay first_under_way(ParseMany& run) {
  for (;;) {
    EXPECT_FALSE(run.wait_for(std::chrono::milliseconds(5)));
    if (const auto item = run.longest_under_way()) return *item;
  }
}

TEST(ParseManyTest, EndsSoonWhenItIsStoppedOrDropped) {
  const TreeSitterEngine engine;
  const ParseItem endless{.path = "a.tsx", .content = "<a {{b:>c:d(e f)" + repeated(" ", 1 << 21)};
  const auto source = [&] { return std::optional(endless); };
  {
    ParseMany dropped = engine.parse_many(source, {.threads = 2});
    EXPECT_EQ(first_under_way(dropped).path, "a.tsx");
  }
  std::stop_source stop;
  ParseMany stopped = engine.parse_many(source, {.threads = 2, .stop = stop.get_token()});
  first_under_way(stopped);
  stop.request_stop();
  std::set<Raised::Kind> kinds;
  while (const auto parsed = stopped.next()) kinds.insert(std::get<Raised>(parsed->outcome).kind);
  EXPECT_THAT(kinds, ElementsAre(Raised::Kind::cancelled));
}

TEST(ParseManyTest, ItsThreadsTakeNoSignals) {
  const TreeSitterEngine engine;
  std::atomic<bool> is_blocked = false;
  ParseMany run = engine.parse_many(source_of({{.path = "a.py", .content = "x = 1\n"}}),
                                    {.perform = [&](ParsedItem&, const auto&) {
                                      sigset_t mask;
                                      pthread_sigmask(SIG_SETMASK, nullptr, &mask);
                                      is_blocked = sigismember(&mask, SIGINT) == 1;
                                    }});
  EXPECT_TRUE(run.next());
  EXPECT_TRUE(is_blocked);
}

}  // namespace
}  // namespace engines::treesitter
