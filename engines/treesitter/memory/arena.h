// ParseArena: the memory of one parse, freed as a whole.
//
// All memory that the library and the grammar's scanner allocate during a parse comes from the
// arena (parsing/parser.cpp), and one reset frees it. So a tree is not freed node by node, a
// scanner cannot leak, and a guard may leave the parse by an exception at any place. Parsing is
// about a fifth faster than with the C library's allocator.
//
// Small blocks are cut from chunks and reused by size. A large block is allocated by itself and
// freed at once. Under AddressSanitizer every block is large, so that it sees where each one ends.
//
// An arena is used by one thread.
//
// Tested by tests/arena_test.cpp.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

namespace engines::treesitter {

class ParseArena {
 public:
  ParseArena() = default;
  ~ParseArena();
  ParseArena(const ParseArena&) = delete;
  ParseArena& operator=(const ParseArena&) = delete;

  // Returns a block of at least `size` bytes, aligned for pointers and 64-bit integers. Throws
  // OverBudget when the parse would take more than its budget; std::bad_alloc; OverRoom and Crowded
  // (memory/room.h).
  void* allocate(std::size_t size);
  // As realloc. `block` may be null.
  void* reallocate(void* block, std::size_t size);
  // As free. `block` may be null.
  void deallocate(void* block);

  // Frees all blocks. Keeps up to 8 MiB for the next parse, if the process uses little memory.
  void reset();

  struct OverBudget {};
  // The most bytes that the parse may hold at once.
  void set_budget(std::size_t bytes) { _budget = bytes; }
  void raise_budget(std::size_t bytes) { _budget += bytes; }
  // Counts memory of the parse that is not in the arena, until it is uncharged or the arena is
  // reset. Throws as `allocate` does.
  void charge(std::size_t bytes);
  void uncharge(std::size_t bytes);
  // The bytes that count against the budget now, and the most since the last reset.
  std::size_t charged_bytes() const { return _charged; }
  std::size_t most_charged_bytes() const { return _most_charged; }
  std::size_t budget() const { return _budget; }
  // The bytes of all chunks. A reset keeps some of them.
  std::size_t kept_bytes() const;

 private:
  struct Header;
  struct LargeBlock;

  // Classes of sizes of small blocks: four for each doubling, so that at most a fifth of a block is
  // unused.
  static constexpr std::size_t CLASS_COUNT = 41;

  void* allocate_small(std::size_t size_class);
  void* allocate_large(std::size_t size);
  void free_large(LargeBlock* block);
  void open_chunk();
  void close_last_chunk();
  void spend(std::size_t bytes);

  struct Chunk {
    std::unique_ptr<std::byte[]> memory;
    std::size_t size;
  };

  std::vector<Chunk> _chunks;
  std::size_t _next_chunk = 0;  // the first chunk from which no block was cut since the reset
  std::byte* _cut = nullptr;    // where the next block is cut
  std::byte* _cut_end = nullptr;
  std::array<Header*, CLASS_COUNT> _free{};  // lists of freed blocks, by class
  LargeBlock* _large = nullptr;              // a doubly linked list
  std::size_t _charged = 0;
  std::size_t _most_charged = 0;
  std::size_t _elsewhere = 0;  // the part of _charged that is in no block or chunk
  std::size_t _budget = SIZE_MAX;
};

}  // namespace engines::treesitter
