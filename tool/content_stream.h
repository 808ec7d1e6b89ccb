// Contents one after the other on one descriptor, each behind its size and its path:
//
//   SIZE SP PATH LF, SIZE bytes, LF
//
// which is what `git cat-file --batch='%(objectsize) %(rest)'` prints, so that the objects of a
// repository are parsed without a checkout. A PATH that begins with a double quote is quoted as git
// quotes paths, for those that hold a line feed.
//
// Costs one copy of one content at a time; what is larger than the limit is read past and not held.
//
// Tested by tests/tool_test.py.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

namespace tool {

// The stream cannot be read, is cut, or is none. Its text names the number of the content.
class ContentStreamError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

class ContentStream {
 public:
  struct Entry {
    std::string path;
    std::uint64_t size;
    std::optional<std::string> content;  // none when it is larger than the limit
  };

  ContentStream(int descriptor, std::uint64_t limit) : _descriptor(descriptor), _limit(limit) {}

  // None at the end. Throws ContentStreamError, std::bad_alloc.
  std::optional<Entry> next();

 private:
  [[noreturn]] void fail(std::string_view text) const;
  bool fill();
  std::optional<std::string> line();
  void take(std::uint64_t size, std::string* content);

  const int _descriptor;
  const std::uint64_t _limit;
  std::uint64_t _number = 0;  // of the entry that is read, from 1
  std::size_t _begin = 0;     // what is left of the buffer
  std::size_t _end = 0;
  std::array<char, 65536> _buffer;
};

// What git means by a path in double quotes; none when it is not well formed.
std::optional<std::string> unquoted_path(std::string_view quoted);

}  // namespace tool
