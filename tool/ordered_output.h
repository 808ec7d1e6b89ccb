// Records made by many threads in any order, written in the order of the paths.
//
// What waits for an earlier record is bounded by number and by size, so a slow first file does not
// let the rest of a run pile up in memory.
//
// Tested by tests/tool_runs_test.py.
#pragma once

#include <array>
#include <condition_variable>
#include <cstddef>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "tool/messages.h"

namespace tool {

// A record in its final form.
struct Output {
  std::string path;
  std::string text;
  std::vector<std::string> errors;
};

class OrderedOutput {
 public:
  // Waits until the record of this number may be made. Numbers are to be claimed in order, from 0,
  // by one thread at a time. False when the run has been stopped.
  bool wait_for_room(std::size_t number);

  // Takes the record, and writes all that are ready: to standard output, with a message on standard
  // error for every error text. Ends the process when standard output fails.
  void put(std::size_t number, Output&& output);

  // Lets nobody wait any longer: some record will never come.
  void stop();

  // The exit status that the records written so far make.
  int status() const { return _status; }

 private:
  // How many records may wait, and how many bytes of them before no more are begun.
  static constexpr std::size_t MAX_WAITING = 256;
  static constexpr std::size_t MAX_WAITING_BYTES = std::size_t{64} * 1024 * 1024;

  void write_ready();

  std::mutex _mutex;  // guards everything below, and the two outputs
  std::condition_variable _has_moved;
  std::array<std::optional<Output>, MAX_WAITING> _waiting;  // by number, as a ring
  std::size_t _next = 0;                                    // the number to be written next
  std::size_t _waiting_bytes = 0;
  int _status = EXIT_ALL_PARSED;
  bool _is_stopped = false;
  Messages _messages;
};

}  // namespace tool
