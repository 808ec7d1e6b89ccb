// ParseArena: the memory of one parse, freed as a whole.
//
// The library asks for its memory here (parsing/parser.cpp directs it). Everything of a
// parse, the library's parser and the grammar's scanner included, lies in the arena and goes with
// one reset: a tree is never freed node by node, a scanner that leaks leaks nothing, and a guard
// may leave a parse by an exception wherever it stands. Parsing is about a fifth faster than with
// the C library's allocator.
//
// Small blocks are cut from chunks and reused by size; a large block has memory of its own and
// gives it back at once. Under AddressSanitizer every block is large, so that it sees each one's
// ends.
//
// An arena belongs to one thread.
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

  // A block of at least `size` bytes, aligned for any pointer or 64-bit integer. Throws
  // std::bad_alloc, OverBudget when the parse would then take more than its budget, and OverRoom
  // and Crowded (memory/room.h).
  void* allocate(std::size_t size);
  // As realloc: `block` may be null, and its bytes move with it.
  void* reallocate(void* block, std::size_t size);
  // Makes a block's memory available to later ones. `block` may be null.
  void deallocate(void* block);

  // Frees all blocks. Keeps up to KEPT_BYTES for the next parse while memory is plentiful.
  void reset();

  struct OverBudget {};
  // The most bytes that a parse may take until the next reset, with blocks given back.
  void set_budget(std::size_t bytes) { _budget = bytes; }
  void raise_budget(std::size_t bytes) { _budget += bytes; }
  // Counts memory that belongs to the parse and lies elsewhere, until it is uncharged or the arena
  // is reset; throws as for a block.
  void charge(std::size_t bytes);
  void uncharge(std::size_t bytes);
  // What all that takes now, and the most that it took since the last reset.
  std::size_t charged_bytes() const { return _charged; }
  std::size_t most_charged_bytes() const { return _most_charged; }
  std::size_t budget() const { return _budget; }
  // The memory of the chunks, which outlives a reset in part.
  std::size_t kept_bytes() const;

 private:
  struct Header;
  struct LargeBlock;

  // Four classes for each doubling of the size, so that at most a fifth of a block is unused.
  static constexpr std::size_t CLASS_COUNT = 41;  // up to 32 KiB

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
  std::size_t _next_chunk = 0;  // the first chunk that no block has been cut from
  std::byte* _cut = nullptr;    // where the next block is cut
  std::byte* _cut_end = nullptr;
  std::array<Header*, CLASS_COUNT> _free{};  // lists of blocks given back, by class
  LargeBlock* _large = nullptr;              // a doubly linked list
  std::size_t _charged = 0;
  std::size_t _most_charged = 0;
  std::size_t _elsewhere = 0;  // of that, what lies in no block
  std::size_t _budget = SIZE_MAX;
};

}  // namespace engines::treesitter
