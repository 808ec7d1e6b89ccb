// ItemQueue: items that Python's thread has read, and the engine's threads are to parse.
//
// Tested by tests/python/test_parse_many.py.
#pragma once

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <mutex>
#include <optional>

#include "engines/treesitter/treesitter.h"

namespace engines::treesitter::python {

class ItemQueue {
 public:
  ItemQueue() = default;
  ItemQueue(const ItemQueue&) = delete;
  ItemQueue& operator=(const ItemQueue&) = delete;

  // For the thread that reads items. Throws std::bad_alloc.
  void add(ParseItem item);
  // Says that no more items will come.
  void end();
  // The same, and drops the items that wait.
  void close();

  // How many items wait, and how many bytes of content they hold.
  std::size_t count() const;
  std::size_t bytes() const;

  // For the engine's threads: waits for the next item. None at the end.
  std::optional<ParseItem> take();

 private:
  static std::size_t bytes_of(const ParseItem& item) {
    return item.content ? item.content->size() : 0;
  }

  mutable std::mutex _mutex;  // of all below
  std::condition_variable _has_moved;
  std::deque<ParseItem> _items;
  std::size_t _bytes = 0;
  bool _has_ended = false;
};

}  // namespace engines::treesitter::python
