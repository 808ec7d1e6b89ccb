// The memory of a parse, compared with a model that remembers what each block holds.
#include "engines/treesitter/memory/arena.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <new>
#include <random>
#include <vector>

#include "tests/support/sanitizers.h"

namespace engines::treesitter {
namespace {

// A block of memory of which every byte is `fill`.
struct Block {
  unsigned char* memory;
  std::size_t size;
  unsigned char fill;

  bool is_intact(std::size_t count) const {
    return std::all_of(memory, memory + count, [&](unsigned char byte) { return byte == fill; });
  }
};

class Model {
 public:
  explicit Model(ParseArena& arena) : _arena(arena) {}

  void step() {
    const auto choice = _random() % 8;
    if (_blocks.empty() || choice < 4) {
      place({nullptr, 0, 0});
    } else {
      Block& block = _blocks[_random() % _blocks.size()];
      ASSERT_TRUE(block.is_intact(block.size));
      std::swap(block, _blocks.back());
      const Block taken = _blocks.back();
      _blocks.pop_back();
      if (choice == 4) {
        place(taken);
      } else {
        _arena.deallocate(taken.memory);
      }
    }
  }

  void reset() {
    for (const Block& block : _blocks) ASSERT_TRUE(block.is_intact(block.size));
    _blocks.clear();
    _arena.reset();
  }

 private:
  // Mostly small sizes, some at the limit of a size class, few large ones.
  std::size_t any_size() {
    const std::size_t sizes[] = {_random() % 65, _random() % 5000, 32 * 1024 + _random() % 3,
                                 std::size_t{1} << _random() % 17, _random() % 200'000};
    return sizes[std::min<std::size_t>(_random() % 16, 4)];
  }

  void place(Block old) {
    const std::size_t size = any_size();
    auto* const memory = static_cast<unsigned char*>(old.memory == nullptr && size % 2 == 0
                                                         ? _arena.allocate(size)
                                                         : _arena.reallocate(old.memory, size));
    ASSERT_EQ(reinterpret_cast<std::uintptr_t>(memory) % alignof(std::uint64_t), 0u);
    const Block block{memory, size, static_cast<unsigned char>(_random())};
    ASSERT_TRUE((Block{memory, size, old.fill}).is_intact(std::min(old.size, size)));
    std::memset(memory, block.fill, size);
    _blocks.push_back(block);
  }

  ParseArena& _arena;
  std::vector<Block> _blocks;
  std::mt19937 _random{7};
};

TEST(ParseArenaTest, BlocksKeepTheirBytes) {
  ParseArena arena;
  Model model(arena);
  constexpr int STEPS = IS_SANITIZED ? 3'000 : 15'000;
  for (int i = 1; i <= STEPS; ++i) {
    ASSERT_NO_FATAL_FAILURE(model.step());
    if (i % 1'000 == 0) model.reset();
  }
}

TEST(ParseArenaTest, NothingGrowsWhatBlocksGivenBackCouldServe) {
  ParseArena arena;
  void* block = nullptr;
  for (int i = 0; i < 1000; ++i) {
    for (const std::size_t size : {1u, 100u, 32u * 1024, 100'000u}) {
      block = arena.reallocate(block, size);
    }
    arena.deallocate(block);
    block = nullptr;
  }
  EXPECT_LT(arena.charged_bytes(), 1'000'000u);
  arena.deallocate(nullptr);

  const std::size_t before = arena.charged_bytes();
  for (int round = 0; round < 10; ++round) {
    std::vector<void*> blocks(100);
    for (void*& each : blocks) each = arena.allocate(1000);
    for (void* each : blocks) arena.deallocate(each);
  }
  EXPECT_LT(arena.charged_bytes(), before + 300'000);
}

TEST(ParseArenaTest, BudgetEndsAllocationAndNotTheArena) {
  for (const std::size_t size : {100u, 10'000u, 50'000u}) {
    ParseArena arena;
    arena.set_budget(1'000'000);
    std::size_t total = 0;
    EXPECT_THROW(for (;; total += size) arena.allocate(size), ParseArena::OverBudget) << size;
    // Chunks double, so that the last one that fits may leave half of the budget unused.
    EXPECT_GT(total, 400'000u);
    EXPECT_LE(total, 1'000'000u);
    EXPECT_LE(arena.charged_bytes(), 1'000'000u);
    arena.reset();
    EXPECT_NE(arena.allocate(size), nullptr);
  }
  ParseArena arena;
  arena.set_budget(1'000'000);
  arena.deallocate(arena.allocate(900'000));
  EXPECT_GE(arena.most_charged_bytes(), 900'000u);  // though it has been given back
  EXPECT_THROW(arena.allocate(1'000'001), ParseArena::OverBudget);
  EXPECT_THROW(arena.allocate(SIZE_MAX), std::bad_alloc);
  EXPECT_EQ(arena.charged_bytes(), 0u);
}

// The budget of a parse does not depend on what its thread parsed before.
TEST(ParseArenaTest, BudgetCountsOneParse) {
  constexpr std::size_t BUDGET = 12'000'000;
  const auto large_blocks_after = [](std::size_t small_bytes) {
    ParseArena arena;
    for (std::size_t total = 0; total < small_bytes; total += 100) arena.allocate(100);
    arena.reset();
    arena.set_budget(BUDGET);
    std::size_t count = 0;
    try {
      for (;; ++count) arena.allocate(100'000);
    } catch (const ParseArena::OverBudget&) {
    }
    return count;
  };
  EXPECT_EQ(large_blocks_after(0), large_blocks_after(7'000'000));
}

TEST(ParseArenaTest, KeepsALimitedAmountBetweenParses) {
  constexpr std::size_t KEPT = 8 * 1024 * 1024;
  ParseArena arena;
  for (std::size_t total = 0; total < 10 * KEPT; total += 1000) arena.allocate(1000);
  EXPECT_GE(arena.charged_bytes(), 10 * KEPT);
  arena.reset();
  EXPECT_LE(arena.kept_bytes(), KEPT);
  EXPECT_EQ(arena.charged_bytes(), 0u);
}

}  // namespace
}  // namespace engines::treesitter
