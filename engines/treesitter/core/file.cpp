#include "engines/treesitter/core/file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <utility>

#include "engines/treesitter/core/parser.h"
#include "engines/treesitter/core/text.h"

namespace engines::treesitter {
namespace {

constexpr std::size_t CHUNK = 1024 * 1024;  // of a file too large to keep
constexpr std::size_t SMALLEST = 4096;      // the first buffer for a file that claims to be empty

class Descriptor {
 public:
  explicit Descriptor(int number) : _number(number) {}
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;
  ~Descriptor() {
    if (_number >= 0) ::close(_number);
  }
  int number() const { return _number; }

 private:
  int _number;
};

void append_escape(std::string& text, char letter, std::uint32_t value, int digits) {
  constexpr std::string_view DIGITS = "0123456789abcdef";
  text.append(1, '\\').append(1, letter);
  while (digits-- > 0) text.append(1, DIGITS[value >> (4 * digits) & 0x0F]);
}

void append_quoted(std::string& text, std::string_view character, char32_t value, char quote) {
  if (value == static_cast<unsigned char>(quote) || value == U'\\') {
    text.append(1, '\\').append(character);
  } else if (value == U'\t' || value == U'\n' || value == U'\r') {
    text.append(1, '\\').append(1, value == U'\t' ? 't' : value == U'\n' ? 'n' : 'r');
  } else if (is_printable(value)) {
    text.append(character);
  } else if (value < 0x100) {
    append_escape(text, 'x', value, 2);
  } else if (value < 0x10000) {
    append_escape(text, 'u', value, 4);
  } else {
    append_escape(text, 'U', value, 8);
  }
}

// The path in quotes, on one line, whatever its bytes are: as Python's repr shows a path, so that
// our texts read as its own do. A byte that is no UTF-8 is U+DC00 and the byte there.
std::string quoted(const std::filesystem::path& path) {
  const std::string_view bytes = path.native();
  const bool has_apostrophe = bytes.find('\'') != std::string_view::npos;
  const bool has_quote = bytes.find('"') != std::string_view::npos;
  const char quote = has_apostrophe && !has_quote ? '"' : '\'';
  std::string text(1, quote);
  for (std::size_t offset = 0; offset < bytes.size();) {
    const IllFormed fault = find_ill_formed(bytes, offset);
    while (offset < fault.offset) {
      const CodePoint point = code_point_at(bytes, offset);
      append_quoted(text, bytes.substr(offset, point.size), point.value, quote);
      offset += point.size;
    }
    for (; offset < fault.offset + fault.size; ++offset) {
      append_escape(text, 'u', 0xDC00U | static_cast<unsigned char>(bytes[offset]), 4);
    }
  }
  return text.append(1, quote);
}

[[noreturn]] void fail(const std::filesystem::path& path, int error_number) {
  throw FileReadError(error_number, path, std::generic_category().message(error_number).c_str());
}

int open_for_reading(const std::filesystem::path& path) {
  for (;;) {
    // Without O_NONBLOCK, opening a FIFO waits for somebody to write to it.
    const int number = ::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC | O_NOCTTY);
    if (number >= 0 || errno != EINTR) return number;
  }
}

// The size that the file claims; its true size is where reading ends.
std::uint64_t require_regular(const Descriptor& file, const std::filesystem::path& path) {
  struct stat status {};
  if (::fstat(file.number(), &status) != 0) fail(path, errno);
  if (S_ISDIR(status.st_mode)) fail(path, EISDIR);
  if (!S_ISREG(status.st_mode)) throw FileReadError(EINVAL, path, "Not a regular file");
  return static_cast<std::uint64_t>(status.st_size);
}

std::size_t read_some(const Descriptor& file, const std::filesystem::path& path, char* buffer,
                      std::size_t capacity) {
  for (;;) {
    const ssize_t count = ::read(file.number(), buffer, capacity);
    if (count >= 0) return static_cast<std::size_t>(count);
    if (errno != EINTR) fail(path, errno);
  }
}

}  // namespace

FileReadError::FileReadError(int error_number, const std::filesystem::path& path,
                             const char* description)
    : std::system_error(error_number, std::generic_category()),
      _description(description),
      _path(path),
      _text("[Errno " + std::to_string(error_number) + "] " + description + ": " + quoted(path)) {}

FileContent read_file(const std::filesystem::path& path, Sha256& digest) {
  if (path.native().find('\0') != std::string::npos) {
    throw FileReadError(EINVAL, path, "Path holds a NUL character");
  }
  const Descriptor file(open_for_reading(path));
  if (file.number() < 0) fail(path, errno);
  const std::uint64_t claimed = require_regular(file, path);

  // A claim is no promise: files of /proc claim 0, and others change while they are read. One byte
  // more than claimed lets the read that finds the end follow without growing.
  const bool is_huge = claimed > MAX_PARSED_BYTES;
  std::string bytes(is_huge ? CHUNK : std::max(static_cast<std::size_t>(claimed) + 1, SMALLEST),
                    '\0');
  std::size_t used = 0;
  while (!is_huge && used <= MAX_PARSED_BYTES) {
    if (used == bytes.size()) bytes.resize(used + used / 2);
    const std::size_t count = read_some(file, path, bytes.data() + used, bytes.size() - used);
    if (count == 0) {
      bytes.resize(used);
      std::string hash = digest.of(bytes);
      return {std::move(bytes), std::move(hash), used};
    }
    used += count;
  }
  digest.start();
  digest.update({bytes.data(), used});
  std::uint64_t size = used;
  while (const std::size_t count = read_some(file, path, bytes.data(), CHUNK)) {
    digest.update({bytes.data(), count});
    size += count;
  }
  return {{}, digest.finish(), size};
}

}  // namespace engines::treesitter
