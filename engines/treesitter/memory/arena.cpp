// See arena.h.
#include "engines/treesitter/memory/arena.h"

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstring>
#include <new>
#include <numeric>
#include <utility>

#include "engines/treesitter/memory/room.h"

namespace engines::treesitter {
namespace {

constexpr std::size_t FIRST_CHUNK_BYTES = 64 * 1024;
constexpr std::size_t LARGEST_CHUNK_BYTES = 4 * 1024 * 1024;
// The chunks that a thread keeps between parses: enough for files of some 200 KB.
constexpr std::size_t KEPT_BYTES = 8 * 1024 * 1024;

#if defined(__SANITIZE_ADDRESS__)
constexpr bool EVERY_BLOCK_IS_LARGE = true;
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
constexpr bool EVERY_BLOCK_IS_LARGE = true;
#else
constexpr bool EVERY_BLOCK_IS_LARGE = false;
#endif
#else
constexpr bool EVERY_BLOCK_IS_LARGE = false;
#endif

constexpr std::size_t LARGEST_SMALL_BYTES = 32 * 1024;

constexpr bool is_large(std::size_t size) {
  return EVERY_BLOCK_IS_LARGE || size > LARGEST_SMALL_BYTES;
}

// Small blocks have sizes of 32, 40, 48 or 56 times a power of two.
constexpr std::size_t SMALLEST_BITS = 5;
constexpr std::size_t SMALLEST_BYTES = std::size_t{1} << SMALLEST_BITS;

constexpr std::size_t size_class_of(std::size_t size) {
  if (size <= SMALLEST_BYTES) return 0;
  // The leading bit of size - 1 and the two bits behind it give the next smaller class.
  const auto bits = static_cast<std::size_t>(std::bit_width(size - 1)) - 1;
  const std::size_t quarter = (size - 1) >> (bits - 2) & 3;
  return (bits - SMALLEST_BITS) * 4 + quarter + 1;
}

constexpr std::size_t size_of_class(std::size_t size_class) {
  return (4 + size_class % 4) << (size_class / 4 + SMALLEST_BITS - 2);
}

static_assert(size_of_class(size_class_of(32)) == 32 && size_of_class(size_class_of(33)) == 40);
static_assert(size_of_class(size_class_of(64)) == 64 && size_of_class(size_class_of(65)) == 80);
static_assert(size_of_class(size_class_of(LARGEST_SMALL_BYTES)) == LARGEST_SMALL_BYTES);

}  // namespace

// Precedes every block.
struct ParseArena::Header {
  std::size_t capacity;  // of the block, without the header
  // The first bytes of a free block point to the next free one of its class.
  Header*& next_free() { return *reinterpret_cast<Header**>(this + 1); }
};

struct ParseArena::LargeBlock {
  LargeBlock* previous;
  LargeBlock* next;
  Header header;
};

ParseArena::~ParseArena() {
  reset();
  while (!_chunks.empty()) close_last_chunk();
}

void ParseArena::spend(std::size_t bytes) {
  if (bytes > _budget || _charged > _budget - bytes) throw OverBudget();
  _charged += bytes;
  _most_charged = std::max(_most_charged, _charged);
}

void ParseArena::charge(std::size_t bytes) {
  spend(bytes);
  try {
    take_room(bytes);
  } catch (...) {
    _charged -= bytes;
    throw;
  }
  _elsewhere += bytes;
}

void ParseArena::uncharge(std::size_t bytes) {
  give_room(bytes);
  _charged -= bytes;
  _elsewhere -= bytes;
}

// Each chunk is twice as large as the one before it, so that a small file uses little memory. A
// chunk kept from an earlier parse counts as a new one, so that the limit of a file is the same on
// each thread.
void ParseArena::open_chunk() {
  const bool is_kept = _next_chunk < _chunks.size();
  const std::size_t size = is_kept ? _chunks[_next_chunk].size
                           : _chunks.empty()
                               ? FIRST_CHUNK_BYTES
                               : std::min(_chunks.back().size * 2, LARGEST_CHUNK_BYTES);
  spend(size);
  if (is_kept) {
    take_kept_room(size);
  } else {
    take_room(size);
    try {
      _chunks.push_back({std::unique_ptr<std::byte[]>(new std::byte[size]), size});
    } catch (...) {
      give_room(size);
      throw;
    }
  }
  _cut = _chunks[_next_chunk].memory.get();
  _cut_end = _cut + size;
  ++_next_chunk;
}

void* ParseArena::allocate_small(std::size_t size_class) {
  static_assert(size_class_of(LARGEST_SMALL_BYTES) + 1 == CLASS_COUNT);
  if (Header* const block = _free[size_class]) {
    _free[size_class] = block->next_free();
    return block + 1;
  }
  const std::size_t capacity = size_of_class(size_class);
  const std::size_t size = sizeof(Header) + capacity;
  if (static_cast<std::size_t>(_cut_end - _cut) < size) open_chunk();
  Header* const header = new (_cut) Header{capacity};
  _cut += size;
  return header + 1;
}

void ParseArena::close_last_chunk() {
  uncount_room(_chunks.back().size);
  _chunks.pop_back();
}

// The sizes of large blocks are rounded up in the same steps. A scanner's list that grows with
// every tag would otherwise ask each time for slightly more than any freed block has. If small
// blocks lie between the freed ones, the process keeps them all: 460 MB for 30 KB of XML.
void* ParseArena::allocate_large(std::size_t size) {
  if (size > SIZE_MAX / 2) throw std::bad_alloc();
  if (!EVERY_BLOCK_IS_LARGE) size = size_of_class(size_class_of(size));
  const std::size_t total = sizeof(LargeBlock) + size;
  charge(total);
  _elsewhere -= total;  // the list of large blocks counts it
  void* const memory = ::operator new(total, std::nothrow);
  if (memory == nullptr) {
    give_room(total);
    _charged -= total;
    throw std::bad_alloc();
  }
  auto* const block = new (memory) LargeBlock{nullptr, _large, {size}};
  if (_large != nullptr) _large->previous = block;
  _large = block;
  return &block->header + 1;
}

void ParseArena::free_large(LargeBlock* block) {
  (block->previous != nullptr ? block->previous->next : _large) = block->next;
  if (block->next != nullptr) block->next->previous = block->previous;
  const std::size_t total = sizeof(LargeBlock) + block->header.capacity;
  give_room(total);
  _charged -= total;
  ::operator delete(block);
}

void* ParseArena::allocate(std::size_t size) {
  if (is_large(size)) return allocate_large(size);
  return allocate_small(size_class_of(size));
}

void* ParseArena::reallocate(void* block, std::size_t size) {
  if (block == nullptr) return allocate(size);
  const std::size_t capacity = (static_cast<Header*>(block) - 1)->capacity;
  if (size <= capacity) return block;
  void* const moved = allocate(size);
  std::memcpy(moved, block, capacity);
  deallocate(block);
  return moved;
}

void ParseArena::deallocate(void* block) {
  if (block == nullptr) return;
  Header* const header = static_cast<Header*>(block) - 1;
  if (is_large(header->capacity)) {
    free_large(reinterpret_cast<LargeBlock*>(reinterpret_cast<std::byte*>(header) -
                                             offsetof(LargeBlock, header)));
    return;
  }
  const std::size_t size_class = size_class_of(header->capacity);
  header->next_free() = _free[size_class];
  _free[size_class] = header;
}

void ParseArena::reset() {
  while (_large != nullptr) free_large(_large);
  _free.fill(nullptr);
  _next_chunk = 0;
  _cut = _cut_end = nullptr;
  uncharge(_elsewhere);
  give_kept_room(std::exchange(_charged, 0));  // only chunks are left
  _most_charged = 0;
  while (kept_bytes() > (may_keep_room() ? KEPT_BYTES : 0)) close_last_chunk();
}

std::size_t ParseArena::kept_bytes() const {
  return std::accumulate(_chunks.begin(), _chunks.end(), std::size_t{0},
                         [](std::size_t sum, const Chunk& chunk) { return sum + chunk.size; });
}

}  // namespace engines::treesitter
