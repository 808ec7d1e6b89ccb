// See ordered_output.h.
#include "tool/ordered_output.h"

#include <utility>

#include "tool/descriptors.h"

namespace tool {

bool OrderedOutput::wait_for_room(std::size_t number) {
  std::unique_lock lock(_mutex);
  // Never waits for itself: bytes wait only while an earlier record is still being made, and its
  // maker has its number already.
  _has_moved.wait(lock, [&] {
    return _is_stopped || (number < _next + MAX_WAITING && _waiting_bytes < MAX_WAITING_BYTES);
  });
  return !_is_stopped;
}

void OrderedOutput::put(std::size_t number, Output&& output) {
  {
    const std::scoped_lock lock(_mutex);
    _waiting_bytes += output.text.size();
    _waiting[number % MAX_WAITING] = std::move(output);
    if (number == _next) write_ready();
  }
  _has_moved.notify_all();
}

void OrderedOutput::stop() {
  {
    const std::scoped_lock lock(_mutex);
    _is_stopped = true;
  }
  _has_moved.notify_all();
}

void OrderedOutput::write_ready() {
  for (;;) {
    auto& slot = _waiting[_next % MAX_WAITING];
    if (!slot) return;
    const Output output = *std::exchange(slot, std::nullopt);
    _waiting_bytes -= output.text.size();
    ++_next;
    if (!output.errors.empty()) _status = EXIT_SOME_FAILED;
    write_output(output.text, _status);
    for (const auto& error : output.errors) _messages.report(output.path, error);
    _messages.show_progress(_next, output.path);
  }
}

}  // namespace tool
