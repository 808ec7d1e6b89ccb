// See content_stream.h.
#include "tool/content_stream.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <stdexcept>
#include <system_error>
#include <utility>

#include "tool/descriptors.h"
#include "tool/escape.h"

namespace tool {
namespace {

// In bytes. No path in a repository comes near. Input that is no such stream may have no line feed.
constexpr std::size_t LONGEST_LINE = std::size_t{1} << 20;

// How many bytes of a wrong line the message shows. For a missing object git prints its id and
// "missing", which fits.
constexpr std::size_t SHOWN = 100;

// The characters that git writes behind a backslash, and those that they stand for.
constexpr std::string_view ESCAPES = "abtnvfr\"\\";
constexpr std::string_view MEANT = "\a\b\t\n\v\f\r\"\\";

bool is_octal(char character) { return character >= '0' && character <= '7'; }

// The path that git has quoted; none when it is not well-formed.
std::optional<std::string> unquoted_path(std::string_view quoted) {
  if (quoted.size() < 2 || quoted.front() != '"' || quoted.back() != '"') return std::nullopt;
  quoted = quoted.substr(1, quoted.size() - 2);
  std::string path;
  for (std::size_t i = 0; i < quoted.size(); ++i) {
    if (quoted[i] == '"') return std::nullopt;
    if (quoted[i] != '\\') {
      path += quoted[i];
      continue;
    }
    const std::string_view rest = quoted.substr(++i);
    if (rest.empty()) return std::nullopt;
    if (const auto at = ESCAPES.find(rest.front()); at != ESCAPES.npos) {
      path += MEANT[at];
    } else if (rest.size() >= 3 && rest[0] <= '3' &&
               std::all_of(rest.begin(), rest.begin() + 3, is_octal)) {
      path += static_cast<char>((rest[0] - '0') * 64 + (rest[1] - '0') * 8 + (rest[2] - '0'));
      i += 2;
    } else {
      return std::nullopt;
    }
  }
  return path;
}

}  // namespace

void ContentStream::fail(std::string_view text) const {
  throw std::runtime_error("standard input, content " + std::to_string(_number) + ": " +
                           std::string(text));
}

// Reads more into the empty buffer. False at the end of the stream.
bool ContentStream::fill() {
  const int error = read_some(_descriptor, _buffer.data(), _buffer.size(), _end);
  if (error != 0) fail(std::generic_category().message(error));
  _begin = 0;
  return _end > 0;
}

// The next line without its line feed; none at the end of the stream.
std::optional<std::string> ContentStream::line() {
  std::string line;
  for (;;) {
    if (_begin == _end && !fill()) {
      if (line.empty()) return std::nullopt;
      fail("the stream ends within a line");
    }
    const char* const begin = _buffer.data() + _begin;
    const char* const end = _buffer.data() + _end;
    const char* const feed = std::find(begin, end, '\n');
    line.append(begin, feed);
    _begin += static_cast<std::size_t>(feed - begin);
    if (line.size() > LONGEST_LINE) fail("a line of more than a MiB; is it a stream for --batch?");
    if (feed == end) continue;
    ++_begin;
    return line;
  }
}

// Reads `size` bytes and appends them to `content`, if there is one.
void ContentStream::take(std::uint64_t size, std::string* content) {
  while (size > 0) {
    if (_begin == _end && !fill()) fail("the stream ends within the content");
    const std::size_t part = std::min<std::uint64_t>(size, _end - _begin);
    if (content != nullptr) content->append(_buffer.data() + _begin, part);
    _begin += part;
    size -= part;
  }
}

std::optional<ContentStream::Entry> ContentStream::next() {
  ++_number;
  const auto head = line();
  if (!head) return std::nullopt;
  Entry entry{};
  const char* const end = head->data() + head->size();
  const auto [behind, error] = std::from_chars(head->data(), end, entry.size);
  if (error != std::errc() || behind == end || *behind != ' ') {
    fail("no line of a size and a path: " + escaped(head->substr(0, SHOWN)));
  }
  entry.path.assign(behind + 1, end);
  if (entry.path.starts_with('"')) {
    auto path = unquoted_path(entry.path);
    if (!path) fail("a path that is not quoted as git quotes them");
    entry.path = *std::move(path);
  }
  if (entry.path.empty()) fail("no path behind the size");
  if (entry.path.find('\0') != std::string::npos) fail("a path with a NUL character");
  if (entry.size <= _limit) {
    // The rest is allocated as it is read, since the stream may be shorter than the size says.
    entry.content.emplace();
    entry.content->reserve(std::min<std::uint64_t>(entry.size, _buffer.size()));
  }
  take(entry.size, entry.content ? &*entry.content : nullptr);
  std::string feed;
  take(1, &feed);
  if (feed != "\n") fail("no line feed behind the content");
  return entry;
}

}  // namespace tool
