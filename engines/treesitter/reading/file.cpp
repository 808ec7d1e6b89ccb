// See file.h.
#include "engines/treesitter/reading/file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

#include "engines/treesitter/guard_limits.h"

namespace engines::treesitter {
namespace {

constexpr std::size_t CHUNK = BYTES_PER_CHECK;  // the most that one read takes
constexpr std::size_t SMALLEST = 4096;          // the buffer for a file that claims to be empty

int open_for_reading(const std::filesystem::path& path) {
  for (;;) {
    // Without O_NONBLOCK, opening a FIFO waits for a writer.
    const int number = ::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC | O_NOCTTY);
    if (number >= 0 || errno != EINTR) return number;
  }
}

// 0 for a regular file, else the error number of the refusal.
int refusal_of(int descriptor, struct stat& status) {
  if (::fstat(descriptor, &status) != 0) return errno;
  if (S_ISDIR(status.st_mode)) return EISDIR;
  return S_ISREG(status.st_mode) ? 0 : EINVAL;
}

}  // namespace

SourceFile::SourceFile(const std::filesystem::path& path) : _path(path) {
  if (path.native().find('\0') != std::string::npos) {
    throw FileReadError(EINVAL, path, "Path holds a NUL character");
  }
  _descriptor = open_for_reading(path);
  if (_descriptor < 0) fail(errno);
  struct stat status {};
  const int error = refusal_of(_descriptor, status);
  if (error != 0) ::close(_descriptor);
  if (error == EINVAL) throw FileReadError(EINVAL, path, "Not a regular file");
  if (error != 0) fail(error);
  _claimed = static_cast<std::uint64_t>(status.st_size);
}

SourceFile::~SourceFile() { ::close(_descriptor); }

void SourceFile::fail(int error_number) const { throw FileReadError(error_number, _path); }

std::size_t SourceFile::read_some(char* buffer, std::size_t capacity) const {
  for (;;) {
    const ssize_t count = ::read(_descriptor, buffer, std::min(capacity, CHUNK));
    if (count >= 0) return static_cast<std::size_t>(count);
    if (errno != EINTR) fail(errno);
  }
}

// The claimed size may be wrong: files of /proc claim 0 bytes, and a file may change while it is
// read. The buffer has one byte more than claimed, so that the read that finds the end needs no
// larger one. Returns false, with the bytes read so far, when the file is too large to be parsed.
bool SourceFile::read_all(std::string& bytes, RoomShare& room, StopCheck& stop) const {
  const auto grow = [&](std::size_t size) {
    room.add(size - bytes.size());
    bytes.resize(size);
  };
  if (_claimed > MAX_PARSED_BYTES) return false;
  grow(std::max(static_cast<std::size_t>(_claimed) + 1, SMALLEST));
  std::size_t used = 0;
  while (used <= MAX_PARSED_BYTES) {
    stop.check();
    if (used == bytes.size()) grow(used + used / 2);
    const std::size_t count = read_some(bytes.data() + used, bytes.size() - used);
    used += count;
    if (count > 0) continue;
    bytes.resize(used);
    return true;
  }
  bytes.resize(used);
  return false;
}

FileContent SourceFile::read(Sha256& digest, RoomShare& room, StopCheck& stop) const {
  if (::lseek(_descriptor, 0, SEEK_SET) < 0) fail(errno);
  std::string bytes;
  if (read_all(bytes, room, stop)) {
    const std::size_t size = bytes.size();
    return {std::move(bytes), {}, size};
  }
  digest.start();
  digest.update(bytes);
  std::uint64_t size = bytes.size();
  bytes = std::string(CHUNK, '\0');
  while (const std::size_t count = read_some(bytes.data(), CHUNK)) {
    stop.check();
    digest.update({bytes.data(), count});
    size += count;
  }
  return {{}, digest.finish(), size};
}

bool is_binary(std::string_view bytes) {
  return bytes.substr(0, JUDGED_BYTES).find('\0') != std::string_view::npos;
}

}  // namespace engines::treesitter
