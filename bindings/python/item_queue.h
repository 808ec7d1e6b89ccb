// ItemQueue: items on their way from the iterator that Python's thread reads to the threads that
// parse, which know nothing of Python.
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
  // No more will come.
  void end();
  // The same, and those that wait are dropped.
  void close();

  // How many items wait, and how many bytes of content they hold.
  std::size_t count() const;
  std::size_t bytes() const;

  // The next item; waits for it. None at the end.
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
