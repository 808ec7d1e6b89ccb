// Per-thread storage of an engine: what each thread keeps between its calls.
//
// Tested by tests/thread_storage_test.cpp, under ThreadSanitizer too.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "engines/treesitter/memory/arena.h"
#include "engines/treesitter/parsing/parser.h"
#include "engines/treesitter/reading/sha256.h"

namespace engines::treesitter {

// Language name to the parser that the thread made for it; only languages that have a parser.
using ParserCache = std::map<std::string, Parser, std::less<>>;

// Changes of visibility in one body: 0-based row and "private", "protected" or "public", by row.
using RubyVisibilityMap = std::vector<std::pair<std::uint32_t, std::string_view>>;

// The 0-based row and column of a body's start.
using RubyBodyKey = std::pair<std::uint32_t, std::uint32_t>;
struct HashRubyBodyKey {
  std::size_t operator()(const RubyBodyKey& key) const {
    return std::hash<std::uint64_t>()(std::uint64_t{key.first} << 32 | key.second);
  }
};

// The bodies of the file being parsed, by position. Emptied at the start of every parse, since a
// position says nothing about another file.
using RubyVisibilityCache = std::unordered_map<RubyBodyKey, RubyVisibilityMap, HashRubyBodyKey>;

struct ThreadStorage {
  ParseArena arena;  // of the parse under way
  ParserCache parsers;
  RubyVisibilityCache ruby_visibility_cache;
  Sha256 digest;
};

// One independent ThreadStorage for each thread that asks, without a lock. It is freed when its
// thread or the ThreadLocal ends, whichever is first.
//
// A thread finds its storage through a one-entry cache, checked against the identity of the
// ThreadLocal (a number never used twice; addresses are), and behind it a list of all storages of
// the thread. Thread and engine share a slot for each storage: whoever ends first takes the storage
// by an atomic exchange, so that exactly one side frees it, and whoever ends last frees the slot. A
// slot whose thread has ended serves the next new thread, so that a pool which starts and ends
// threads for years holds as many slots as it ever had threads at once.
class ThreadLocal {
 public:
  ThreadLocal();
  // No thread may be inside a call on this object, or begin one.
  ~ThreadLocal();
  ThreadLocal(const ThreadLocal&) = delete;
  ThreadLocal& operator=(const ThreadLocal&) = delete;

  // The calling thread's storage, made on the first call. Throws std::bad_alloc.
  ThreadStorage& get();

 private:
  friend class ThreadSlots;
  struct Slot;

  ThreadStorage& find_or_make();
  Slot* claim();

  const std::uint64_t _identity;        // written by the constructor only
  std::atomic<Slot*> _slots = nullptr;  // a list that only grows, pushed to by any thread
};

}  // namespace engines::treesitter
