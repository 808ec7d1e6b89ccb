// A buffer of fixed size before a sink: a record of hundreds of megabytes takes no more memory than
// a small one, and a small one reaches the sink in one piece.
//
// Cost: 64 KiB, meant for the stack, where the system provides pages only as they are written to.
//
// Tested by tests/tool_formats_test.cpp.
#pragma once

#include <array>
#include <charconv>
#include <concepts>
#include <cstddef>
#include <cstring>
#include <string_view>

#include "tool/byte_sink.h"

namespace tool {

class OutputBuffer {
 public:
  static constexpr std::size_t CAPACITY = std::size_t{64} * 1024;

  explicit OutputBuffer(ByteSink& sink) : _sink(sink) {}
  // Drops what was not flushed. A sink may have thrown, and then it must not be called again.
  ~OutputBuffer() = default;
  OutputBuffer(const OutputBuffer&) = delete;
  OutputBuffer& operator=(const OutputBuffer&) = delete;

  void write(std::string_view bytes) {
    if (bytes.size() > CAPACITY) {
      flush();
      _sink.write(bytes);
      return;
    }
    std::memcpy(room(bytes.size()), bytes.data(), bytes.size());
    _size += bytes.size();
  }

  void write(char character) {
    *room(1) = character;
    ++_size;
  }

  void write_number(std::integral auto number) {
    constexpr std::size_t LONGEST = 20;  // digits of 64 bits, with the sign
    char* const begin = room(LONGEST);
    _size += static_cast<std::size_t>(std::to_chars(begin, begin + LONGEST, number).ptr - begin);
  }

  // room: where the caller may put up to `size` bytes, at most CAPACITY. commit: the caller has put
  // bytes there, up to `end`.
  char* room(std::size_t size) {
    if (size > CAPACITY - _size) flush();
    return _bytes.data() + _size;
  }
  void commit(const char* end) { _size = static_cast<std::size_t>(end - _bytes.data()); }

  // Call it after the last piece.
  void flush() {
    if (_size > 0) _sink.write({_bytes.data(), _size});
    _size = 0;
  }

 private:
  ByteSink& _sink;
  std::size_t _size = 0;
  std::array<char, CAPACITY> _bytes;
};

}  // namespace tool
