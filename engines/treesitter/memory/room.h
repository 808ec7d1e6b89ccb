// The room that all parses of the process share: how much memory they hold together, and who has to
// wait.
//
// What a parse holds is counted when it is taken from the system and when it is given back: the
// chunks and large blocks of its arena, its file's bytes, its result's texts. So is what idle
// threads keep and what waits in a run. Nobody waits while holding anything, so that nobody waits
// for ever: a parse that finds no room gives back all that it has, waits until no other is under
// way, and begins again alone.
//
// Two bounds, so that what becomes of a file is a matter of the file and the room alone. What one
// parse takes itself is bounded by file_room(), and that alone can fail it. What all hold is
// bounded by memory_room(), and sends a parse to begin again alone; alone it goes on past that
// bound, since waiting for results to be taken may be waiting for whoever waits for this file.
// file_room() leaves them their share, so that both together stay within the room.
//
// It takes no lock. Counting costs two atomic additions for some hundred kilobytes; waiting, which
// is rare, looks again every few milliseconds, so that a forked child finds nothing that it has to
// be woken from.
//
// Tested by tests/room_test.cpp.
#pragma once

#include <cstddef>
#include <cstdint>

#include "engines/treesitter/cancellation/stop_check.h"

namespace engines::treesitter {

// Thrown when a parse takes more than any may. Caught in core/parse.cpp, as is Crowded.
struct OverRoom {
  std::uint64_t wanted;  // bytes that the parse would have held
  std::uint64_t allowed;
};

// Thrown when a parse finds no room beside what others hold.
struct Crowded {};

// Counts memory of the calling thread's parse. Throws OverRoom, Crowded.
void take_room(std::size_t bytes);
void give_room(std::size_t bytes) noexcept;
// The same for memory that the thread has kept from an earlier parse and that it keeps after this
// one, which is counted among what all hold already. Throws OverRoom.
void take_kept_room(std::size_t bytes);
void give_kept_room(std::size_t bytes) noexcept;

// Counts what belongs to no parse under way, whether or not there is room: it exists already.
void count_room(std::size_t bytes) noexcept;
void uncount_room(std::size_t bytes) noexcept;

// Whether so little is in use that a thread may keep memory for its next parse.
bool may_keep_room() noexcept;

// What one thing takes as it grows, given back as a whole.
class RoomShare {
 public:
  RoomShare() = default;
  RoomShare(const RoomShare&) = delete;
  RoomShare& operator=(const RoomShare&) = delete;
  ~RoomShare() { give_room(_counted); }

  // Throws OverRoom, Crowded. Counted in steps, so that many small additions cost nothing.
  void add(std::size_t bytes) {
    _held += bytes;
    if (_held > _counted) count_more();
  }

 private:
  void count_more();

  std::size_t _held = 0;
  std::size_t _counted = 0;
};

// One parse's stay among those under way. A call of the engine from within another, as by a log
// sink, cannot wait, since the outer one holds memory: it goes on past what all may hold.
class RoomTurn {
 public:
  // Waits while some parse is alone, and while there are others and `expected` bytes would not fit
  // beside what is in use. Throws CancelledError.
  RoomTurn(std::uint64_t expected, StopCheck& stop);
  RoomTurn(const RoomTurn&) = delete;
  RoomTurn& operator=(const RoomTurn&) = delete;
  ~RoomTurn();

  // Whether no other parse has been under way since this turn began: then there is nothing to wait
  // for, and what found no room never will.
  bool was_alone() const noexcept;

  // Waits until no other parse is under way, and keeps others from beginning. Throws
  // CancelledError.
  void become_alone(StopCheck& stop);

 private:
  bool try_enter(std::uint64_t expected);
  void leave() noexcept;

  const bool _is_inner;            // within another turn of the thread
  const bool _outer_may_exceed;    // of that one
  const std::uint64_t _outer_own;  // what it holds
  bool _is_in = false;             // counted among those under way
  bool _is_alone = false;
  bool _began_alone = false;
  std::uint32_t _forks;  // of the process when the turn began
  std::uint64_t _number = 0;
};

}  // namespace engines::treesitter
