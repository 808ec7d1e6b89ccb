// The memory that all parses of the process hold together, and which of them have to wait.
//
// Memory is counted when it is taken from the system and when it is given back: the chunks and
// large blocks of a parse's arena, its file's bytes, its result's texts, the memory that idle
// threads keep, and the outcomes that wait in a run. A parse that finds no room frees everything
// that it holds, waits until no other parse is under way, and begins again alone. No parse waits
// while it holds memory, so there is no deadlock.
//
// There are two limits, so that the result depends on the file and the room, but not on other
// parses. One parse may take file_room(); only this limit can make a parse fail. All together may
// take memory_room(); a parse that would exceed it begins again alone. A parse that runs alone may
// exceed it, since it cannot wait for results to be taken: the thread that takes them may be
// waiting for this file. The eighths below keep the sum within the room.
//
// It takes no lock. Counting costs two atomic additions for some hundred kilobytes. A parse that
// waits looks again every few milliseconds, so that a forked child never waits for a thread that
// does not exist there.
//
// Tested by tests/room_test.cpp.
#pragma once

#include <cstddef>
#include <cstdint>

#include "engines/treesitter/cancellation/stop_check.h"

namespace engines::treesitter {

// The shares of memory_room(), in eighths: of one file (file_room), of outcomes that wait in a run,
// and of what idle threads keep.
inline constexpr std::uint64_t FILE_EIGHTHS = 5;
inline constexpr std::uint64_t WAITING_EIGHTHS = 2;
inline constexpr std::uint64_t IDLE_EIGHTHS = 1;
static_assert(FILE_EIGHTHS + WAITING_EIGHTHS + IDLE_EIGHTHS == 8);

// Thrown when a parse takes more than file_room(). Caught in core/parse.cpp, as is Crowded.
struct OverRoom {
  std::uint64_t wanted;  // bytes that the parse would have held
  std::uint64_t allowed;
};

// Thrown when there is no room for a parse beside the memory of others.
struct Crowded {};

// Count memory of the calling thread's parse, in bytes. take_room throws OverRoom, Crowded.
void take_room(std::size_t bytes);
void give_room(std::size_t bytes) noexcept;
// The same for memory that the thread keeps between parses. It is counted for the process already.
// take_kept_room throws OverRoom.
void take_kept_room(std::size_t bytes);
void give_kept_room(std::size_t bytes) noexcept;

// Count memory that belongs to no parse under way, such as outcomes, whether or not there is room.
void count_room(std::size_t bytes) noexcept;
void uncount_room(std::size_t bytes) noexcept;

// Whether so little is in use that threads may keep memory for their next parse.
bool may_keep_room() noexcept;

// The memory of one thing that grows, such as a list; given back at the end of this object.
class RoomShare {
 public:
  RoomShare() = default;
  RoomShare(const RoomShare&) = delete;
  RoomShare& operator=(const RoomShare&) = delete;
  ~RoomShare() { give_room(_counted); }

  // Throws OverRoom, Crowded. Room is taken in steps, so that small additions cost little.
  void add(std::size_t bytes) {
    _held += bytes;
    if (_held > _counted) count_more();
  }

 private:
  void count_more();

  std::size_t _held = 0;
  std::size_t _counted = 0;
};

// Counts one parse among those under way while it exists. A parse within another one on the same
// thread, as a log sink may start, does not wait, since the outer one holds memory. It may exceed
// memory_room().
class RoomTurn {
 public:
  // Waits while a parse is running alone or waiting for that, and while others are under way and
  // there is no room for `expected` bytes. Throws CancelledError.
  RoomTurn(std::uint64_t expected, StopCheck& stop);
  RoomTurn(const RoomTurn&) = delete;
  RoomTurn& operator=(const RoomTurn&) = delete;
  ~RoomTurn();

  // Whether no other parse has been under way since this turn began. Beginning again would not help
  // then.
  bool was_alone() const noexcept;

  // Waits until no other parse is under way, and keeps others from beginning. Throws
  // CancelledError.
  void become_alone(StopCheck& stop);

 private:
  bool try_enter(std::uint64_t expected);
  void leave() noexcept;

  const bool _is_inner;            // within another turn of the thread
  const bool _outer_may_exceed;    // of the outer turn
  const std::uint64_t _outer_own;  // the bytes of the outer parse
  bool _is_in = false;             // counted among the parses under way
  bool _is_alone = false;
  bool _began_alone = false;
  std::uint32_t _forks;  // of the process when the turn began
  std::uint64_t _number = 0;
};

}  // namespace engines::treesitter
