// Reads a stream of contents, each behind a line with its size and its path:
//
//   SIZE SP PATH LF, SIZE bytes, LF
//
// `git cat-file --batch='%(objectsize) %(rest)'` prints this, so that the objects of a repository
// can be parsed without a checkout. A PATH that begins with a double quote is quoted as git quotes
// paths, since it may hold a line feed.
//
// Cost: one copy of one content at a time. A content larger than the limit is skipped and not held.
//
// Tested by tests/tool_test.py.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace tool {

class ContentStream {
 public:
  struct Entry {
    std::string path;
    std::uint64_t size;
    std::optional<std::string> content;  // none when it is larger than the limit
  };

  // `descriptor`: remains the caller's. `limit`: in bytes, of a content.
  ContentStream(int descriptor, std::uint64_t limit) : _descriptor(descriptor), _limit(limit) {}

  // The next content; none at the end. Throws std::runtime_error when the stream cannot be read, is
  // cut off or is no such stream; the text says at which content. Throws std::bad_alloc.
  std::optional<Entry> next();

 private:
  [[noreturn]] void fail(std::string_view text) const;
  bool fill();
  std::optional<std::string> line();
  void take(std::uint64_t size, std::string* content);

  const int _descriptor;
  const std::uint64_t _limit;
  std::uint64_t _number = 0;  // of the content that is read, 1-based
  std::size_t _begin = 0;     // what is left in the buffer, up to _end
  std::size_t _end = 0;
  std::array<char, 65536> _buffer;
};

}  // namespace tool
