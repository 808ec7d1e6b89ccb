// See descriptors.h.
#include "tool/descriptors.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <system_error>

#include "tool/messages.h"

namespace tool {
namespace {

// Whether to try again after an error, for which it may wait: some creators of a pipe make it
// non-blocking.
bool may_go_on(int error, int descriptor, short events) {
  if (error == EINTR) return true;
  if (error != EAGAIN && error != EWOULDBLOCK) return false;
  pollfd waiting{descriptor, events, 0};
  return ::poll(&waiting, 1, -1) >= 0 || errno == EINTR;
}

[[noreturn]] void end_without_output(int error, int status) {
  // No destructors and no waiting for threads: a parse whose result is lost may take minutes.
  if (error == EPIPE) std::_Exit(status);
  complain("standard output: " + std::generic_category().message(error));
  std::_Exit(EXIT_NOT_RUN);
}

}  // namespace

void reserve_standard_descriptors() {
  for (int descriptor = STDIN_FILENO; descriptor <= STDERR_FILENO; ++descriptor) {
    if (::fcntl(descriptor, F_GETFD) >= 0 || errno != EBADF) continue;
    // The system takes the lowest free number, which is this one. Opened for the wrong direction,
    // so that reads or writes fail.
    const int mode = descriptor == STDIN_FILENO ? O_WRONLY : O_RDONLY;
    if (::open("/dev/null", mode) < 0) std::_Exit(EXIT_NOT_RUN);
  }
}

OwnedDescriptor::~OwnedDescriptor() {
  if (_number >= 0) ::close(_number);
}

int read_some(int descriptor, char* buffer, std::size_t room, std::size_t& size) {
  for (;;) {
    const ssize_t got = ::read(descriptor, buffer, room);
    if (got >= 0) {
      size = static_cast<std::size_t>(got);
      return 0;
    }
    if (!may_go_on(errno, descriptor, POLLIN)) return errno;
  }
}

int read_to_end(int descriptor, std::string& content, std::uint64_t at_most) {
  std::array<char, 65536> buffer;
  while (at_most > 0) {
    const std::size_t wanted = std::min<std::uint64_t>(buffer.size(), at_most);
    std::size_t size = 0;
    const int error = read_some(descriptor, buffer.data(), wanted, size);
    if (error != 0 || size == 0) return error;
    content.append(buffer.data(), size);
    at_most -= size;
  }
  return 0;
}

int write_all(int descriptor, std::string_view text) {
  while (!text.empty()) {
    const ssize_t size = ::write(descriptor, text.data(), text.size());
    if (size >= 0) {
      text.remove_prefix(static_cast<std::size_t>(size));
    } else if (!may_go_on(errno, descriptor, POLLOUT)) {
      return errno;
    }
  }
  return 0;
}

void write_output(std::string_view text, int status) {
  if (const int error = write_all(STDOUT_FILENO, text); error != 0) {
    end_without_output(error, status);
  }
}

void close_output() {
  if (::close(STDOUT_FILENO) != 0 && errno != EINTR) end_without_output(errno, EXIT_NOT_RUN);
}

}  // namespace tool
