// The storage that each thread keeps for each engine, when engines and threads end in any order.
// The address and thread sanitizers find the faults that these cases provoke.
#include "engines/treesitter/core/thread_storage.h"

#include <gtest/gtest.h>
#include <malloc.h>

#include <barrier>
#include <memory>
#include <thread>
#include <vector>

#include "tests/support/engine_peer.h"
#include "tests/support/parse.h"
#include "tests/support/sanitizers.h"

namespace engines::treesitter {
namespace {

// Runs `work(i)` on as many threads at once.
template <typename Work>
void on_threads(int count, Work work) {
  std::vector<std::thread> threads;
  for (int i = 0; i < count; ++i) threads.emplace_back([&work, i] { work(i); });
  for (std::thread& thread : threads) thread.join();
}

// In storage that is used after it was freed, or by two threads, a mark is wrong or missing.
void mark(ThreadStorage& storage, std::uint32_t value) {
  storage.ruby_visibility_cache[{value, value}] = {{value, "private"}};
}
bool is_marked(const ThreadStorage& storage, std::uint32_t value) {
  return storage.ruby_visibility_cache.size() == 1 &&
         storage.ruby_visibility_cache.begin()->first.first == value;
}

TEST(ThreadLocalTest, OneStoragePerThreadAndObject) {
  ThreadLocal one;
  ThreadLocal other;
  ThreadStorage* const storage = &one.get();
  mark(*storage, 1);
  mark(other.get(), 2);
  EXPECT_EQ(&one.get(), storage);
  EXPECT_NE(&other.get(), storage);
  EXPECT_TRUE(is_marked(one.get(), 1));
  std::thread([&] {
    EXPECT_NE(&one.get(), storage);
    EXPECT_TRUE(one.get().ruby_visibility_cache.empty());
  }).join();
}

TEST(ThreadLocalTest, ANewObjectAtAnOldAddressIsNew) {
  alignas(ThreadLocal) std::byte memory[sizeof(ThreadLocal)];
  for (std::uint32_t i = 0; i < 100; ++i) {
    auto* const local = new (memory) ThreadLocal;
    EXPECT_TRUE(local->get().ruby_visibility_cache.empty());
    mark(local->get(), i);
    local->~ThreadLocal();
  }
}

TEST(ThreadLocalTest, ThreadsEndFirst) {
  ThreadLocal local;
  for (int round = 0; round < 20; ++round) {
    on_threads(8, [&](int i) {
      const auto value = static_cast<std::uint32_t>(i);
      EXPECT_TRUE(local.get().ruby_visibility_cache.empty());
      mark(local.get(), value);
      std::this_thread::yield();
      EXPECT_TRUE(is_marked(local.get(), value));
    });
  }
}

TEST(ThreadLocalTest, ObjectsEndFirst) {
  for (int round = 0; round < 20; ++round) {
    auto local = std::make_unique<ThreadLocal>();
    std::barrier used(9);
    std::barrier gone(9);
    std::thread owner([&] {
      used.arrive_and_wait();
      local.reset();
      gone.arrive_and_wait();
    });
    on_threads(8, [&](int i) {
      mark(local->get(), static_cast<std::uint32_t>(i));
      used.arrive_and_wait();
      gone.arrive_and_wait();
      ThreadLocal next;
      EXPECT_TRUE(next.get().ruby_visibility_cache.empty());
    });
    owner.join();
  }
}

// Both end at the same moment, many times: one of the two must free the storage.
TEST(ThreadLocalTest, ThreadsAndObjectsEndTogether) {
  for (int round = 0; round < 200; ++round) {
    auto local = std::make_unique<ThreadLocal>();
    std::barrier used(5);
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
      threads.emplace_back([&] {
        mark(local->get(), 1);
        used.arrive_and_wait();
      });
    }
    used.arrive_and_wait();
    local.reset();
    for (std::thread& thread : threads) thread.join();
  }
}

TEST(ThreadLocalTest, ManyObjectsOnManyThreads) {
  std::vector<ThreadLocal> locals(30);
  on_threads(6, [&](int thread) {
    for (int round = 0; round < 3; ++round) {
      for (std::uint32_t i = 0; i < locals.size(); ++i) {
        const auto value = static_cast<std::uint32_t>(thread) * 100 + i;
        if (round == 0) mark(locals[i].get(), value);
        EXPECT_TRUE(is_marked(locals[i].get(), value));
      }
    }
  });
}

// The bytes that the process has allocated, or 0 with a sanitizer, whose allocator does not count.
std::size_t allocated_bytes() { return IS_SANITIZED ? 0 : mallinfo2().uordblks; }

// That threads leave nothing is in fault_test.cpp.
TEST(ThreadLocalTest, TenThousandObjectsLeaveNothing) {
  ThreadLocal().get();
  const std::size_t before = allocated_bytes();
  for (int i = 0; i < 10'000; ++i) ThreadLocal().get();
  // Less than two bytes for each.
  EXPECT_LT(allocated_bytes(), before + 20'000);
}

// ---- The engine's use of it ----

TEST(EngineStorageTest, OneParserPerThreadAndLanguage) {
  const TreeSitterEngine engine;
  const Parser* const parser = EnginePeer::_get_parser(engine, "python");
  ASSERT_NE(parser, nullptr);
  EXPECT_EQ(EnginePeer::_get_parser(engine, "python"), parser);
  EXPECT_NE(EnginePeer::_get_parser(engine, "go"), parser);
  EXPECT_EQ(EnginePeer::_get_parser(engine, "python"), parser);
  const TreeSitterEngine other;
  EXPECT_NE(EnginePeer::_get_parser(other, "python"), parser);
  std::thread([&] {
    EXPECT_TRUE(EnginePeer::_get_thread_local_storage(engine).parsers.empty());
    EXPECT_NE(EnginePeer::_get_parser(engine, "python"), parser);
  }).join();
}

TEST(EngineStorageTest, AMissingGrammarIsNotRemembered) {
  const TreeSitterEngine engine;
  EXPECT_EQ(EnginePeer::_get_parser(engine, "cobol"), nullptr);
  EXPECT_TRUE(EnginePeer::_get_thread_local_storage(engine).parsers.empty());
}

// Several threads of one engine parse all languages, with the results of a single thread.
TEST(EngineStorageTest, ThreadsShareAnEngine) {
  const auto parse_all = [](const TreeSitterEngine& engine) {
    std::vector<ParseResult> results;
    for (const std::string_view language : languages::language_names()) {
      const std::string source = "class A { f() { g(); } }\n# B\nkey: &c 1\ndef d(): pass\n";
      results.push_back(engine.parse_content(source, language, "a/b.c"));
    }
    return results;
  };
  const auto expected = parse_all(TreeSitterEngine());
  auto engine = std::make_unique<TreeSitterEngine>();
  std::barrier parsed(5);
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([&] {
      for (int round = 0; round < 3; ++round) EXPECT_EQ(parse_all(*engine), expected);
      parsed.arrive_and_wait();
      // By now the engine and its parsers may be gone.
      EXPECT_EQ(parse_all(TreeSitterEngine()), expected);
    });
  }
  parsed.arrive_and_wait();
  engine.reset();
  for (std::thread& thread : threads) thread.join();
}

}  // namespace
}  // namespace engines::treesitter
