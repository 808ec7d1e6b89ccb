// The storage of an engine's threads: what each of them keeps between its calls.
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

// The thread's parsers by name of language.
using ParserCache = std::map<std::string, Parser, std::less<>>;

// The words in one body that change visibility, by row: the 0-based row, and "private", "protected"
// or "public".
using RubyVisibilityMap = std::vector<std::pair<std::uint32_t, std::string_view>>;

// The 0-based row and column of a body's start.
using RubyBodyKey = std::pair<std::uint32_t, std::uint32_t>;
struct HashRubyBodyKey {
  std::size_t operator()(const RubyBodyKey& key) const {
    return std::hash<std::uint64_t>()(std::uint64_t{key.first} << 32 | key.second);
  }
};

// The bodies of the file being parsed, by position. Emptied at the start of every parse.
using RubyVisibilityCache = std::unordered_map<RubyBodyKey, RubyVisibilityMap, HashRubyBodyKey>;

struct ThreadStorage {
  ParseArena arena;  // of the parse under way
  ParserCache parsers;
  RubyVisibilityCache ruby_visibility_cache;
  Sha256 digest;
};

// One ThreadStorage for each thread that asks for it, without a lock. It is freed when its thread
// or the ThreadLocal ends, whichever is first.
//
// Each thread has a list of its storages, and remembers the one found last. Both name a ThreadLocal
// by its identity, a number that is never used twice, as an address may be. Thread and ThreadLocal
// share a slot for each storage. The one that ends first takes the storage by an atomic exchange,
// so that exactly one of them frees it; the one that ends last frees the slot. A slot whose thread
// has ended is used by the next new thread: a process that starts and ends threads for years has as
// many slots as it had threads at once.
class ThreadLocal {
 public:
  ThreadLocal();
  // No thread may be in a call on this object, or begin one.
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
  std::atomic<Slot*> _slots = nullptr;  // a list that only grows; any thread may push
};

}  // namespace engines::treesitter
