// See room.h.
#include "engines/treesitter/memory/room.h"

#include <pthread.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <thread>

#include "engines/treesitter/memory/process_limits.h"
#include "engines/treesitter/treesitter.h"

namespace engines::treesitter {
namespace {

constexpr std::chrono::milliseconds BETWEEN_LOOKS(2);

// How many bytes a RoomShare takes ahead of its need.
constexpr std::size_t SHARE_STEP = 256 * 1024;

constinit std::atomic<std::uint64_t> room_limit = 0;  // memory_room(); 0 until it is known
constinit std::atomic<std::uint64_t> in_use = 0;

// Turns. A parse that enters first counts itself and then looks whether another one wants to run
// alone. A parse that wants to run alone says so first and then looks whether others are under way.
// So at least one of the two sees the other.
constinit std::atomic<std::uint32_t> under_way = 0;      // turns now
constinit std::atomic<std::uint64_t> begun = 0;          // turns since the start of the process
constinit std::atomic<std::uint32_t> wanting_alone = 0;  // turns that wait to run alone, or do
constinit std::atomic<bool> is_taken_alone = false;      // whether one runs alone, or is about to
thread_local constinit bool has_turn = false;
thread_local constinit bool may_exceed = false;    // whether the parse may exceed memory_room()
thread_local constinit std::uint64_t own_use = 0;  // bytes of the thread's parse

constinit std::atomic<std::uint32_t> forks = 0;  // between the first process and this one

// The child has none of the other threads. A turn of the forking thread, which may fork in
// Cancellation::poll, is not counted in the child either.
void forget_all() {
  ++forks;
  in_use = 0;
  under_way = 0;
  wanting_alone = 0;
  is_taken_alone = false;
}
[[maybe_unused]] const int at_fork = ::pthread_atfork(nullptr, nullptr, forget_all);

std::uint64_t less(std::uint64_t known, std::uint64_t bytes) {
  return known - std::min(known, bytes);
}

void wait_a_little(StopCheck& stop) {
  stop.check();
  std::this_thread::sleep_for(BETWEEN_LOOKS);
}

}  // namespace

std::uint64_t memory_room() {
  std::uint64_t known = room_limit.load(std::memory_order_relaxed);
  if (known != 0) return known;
  const std::uint64_t found = std::max<std::uint64_t>(process_memory_limit() / 4 * 3, 1);
  return room_limit.compare_exchange_strong(known, found) ? found : known;
}

std::uint64_t file_room() { return memory_room() / 8 * FILE_EIGHTHS; }

void set_memory_room(std::uint64_t bytes) { room_limit = std::max<std::uint64_t>(bytes, 1); }

void take_kept_room(std::size_t bytes) {
  const std::uint64_t allowed = file_room();
  if (bytes > allowed || own_use > allowed - bytes) throw OverRoom{own_use + bytes, allowed};
  own_use += bytes;
}

void give_kept_room(std::size_t bytes) noexcept { own_use = less(own_use, bytes); }

void take_room(std::size_t bytes) {
  take_kept_room(bytes);
  const std::uint64_t wanted = in_use.fetch_add(bytes, std::memory_order_relaxed) + bytes;
  if (wanted <= memory_room() || may_exceed) return;
  give_room(bytes);
  throw Crowded();
}

void give_room(std::size_t bytes) noexcept {
  give_kept_room(bytes);
  uncount_room(bytes);
}

void count_room(std::size_t bytes) noexcept { in_use.fetch_add(bytes, std::memory_order_relaxed); }

// Not below 0: a forked child frees memory that was counted in its parent.
void uncount_room(std::size_t bytes) noexcept {
  std::uint64_t known = in_use.load(std::memory_order_relaxed);
  while (!in_use.compare_exchange_weak(known, less(known, bytes), std::memory_order_relaxed)) {
  }
}

bool may_keep_room() noexcept {
  return wanting_alone.load(std::memory_order_relaxed) == 0 &&
         in_use.load(std::memory_order_relaxed) <= memory_room() / 8 * IDLE_EIGHTHS;
}

void RoomShare::count_more() {
  const std::size_t more = _held - _counted + SHARE_STEP;
  take_room(more);
  _counted += more;
}

RoomTurn::RoomTurn(std::uint64_t expected, StopCheck& stop)
    : _is_inner(has_turn), _outer_may_exceed(may_exceed), _outer_own(own_use), _forks(forks) {
  if (!_is_inner) {
    while (!try_enter(expected)) wait_a_little(stop);
  }
  has_turn = true;
  may_exceed = _is_inner;
  own_use = 0;
}

RoomTurn::~RoomTurn() {
  has_turn = _is_inner;
  may_exceed = _outer_may_exceed;
  own_use = _outer_own;
  if (!_is_inner) leave();
}

bool RoomTurn::try_enter(std::uint64_t expected) {
  const std::uint32_t others = under_way.fetch_add(1);
  const std::uint64_t used = in_use.load(std::memory_order_relaxed);
  if (wanting_alone.load() == 0 && (others == 0 || used + expected <= memory_room())) {
    _is_in = true;
    _began_alone = others == 0;
    _number = begun.fetch_add(1) + 1;
    return true;
  }
  under_way.fetch_sub(1);
  return false;
}

void RoomTurn::leave() noexcept {
  const bool is_counted = _forks == forks.load(std::memory_order_relaxed);
  if (_is_in && is_counted) under_way.fetch_sub(1);
  if (_is_alone && is_counted) {
    is_taken_alone = false;
    wanting_alone.fetch_sub(1);
  }
  _is_in = _is_alone = false;
}

bool RoomTurn::was_alone() const noexcept {
  return _is_inner || _is_alone || (_began_alone && begun.load() == _number);
}

void RoomTurn::become_alone(StopCheck& stop) {
  leave();
  _forks = forks;
  wanting_alone.fetch_add(1);  // no other parse enters from here on
  try {
    while (is_taken_alone.exchange(true)) wait_a_little(stop);
  } catch (...) {
    wanting_alone.fetch_sub(1);
    throw;
  }
  _is_alone = may_exceed = true;
  while (under_way.load() != 0) wait_a_little(stop);
}

}  // namespace engines::treesitter
