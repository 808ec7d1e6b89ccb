// See item_queue.h.
#include "bindings/python/item_queue.h"

#include <utility>

namespace engines::treesitter::python {

void ItemQueue::add(ParseItem item) {
  const std::scoped_lock lock(_mutex);
  const std::size_t bytes = bytes_of(item);
  _items.push_back(std::move(item));
  _bytes += bytes;
  _has_moved.notify_one();
}

void ItemQueue::end() {
  const std::scoped_lock lock(_mutex);
  _has_ended = true;
  _has_moved.notify_all();
}

void ItemQueue::close() {
  const std::scoped_lock lock(_mutex);
  _has_ended = true;
  _items.clear();
  _bytes = 0;
  _has_moved.notify_all();
}

std::size_t ItemQueue::count() const {
  const std::scoped_lock lock(_mutex);
  return _items.size();
}

std::size_t ItemQueue::bytes() const {
  const std::scoped_lock lock(_mutex);
  return _bytes;
}

std::optional<ParseItem> ItemQueue::take() {
  std::unique_lock lock(_mutex);
  _has_moved.wait(lock, [this] { return _has_ended || !_items.empty(); });
  if (_items.empty()) return std::nullopt;
  std::optional<ParseItem> item(std::move(_items.front()));
  _items.pop_front();
  _bytes -= bytes_of(*item);
  return item;
}

}  // namespace engines::treesitter::python
