// See write_lock.h. The file is never removed. Otherwise one process could lock the removed file,
// which it has opened before, and another one a new file.
#include "index/write_lock.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <array>
#include <cerrno>

#include "index/index_error.h"
#include "index/system_calls.h"

namespace repository {
namespace {

constexpr std::size_t MOST_HOLDER = 256;

// The text that the holder has written, "process 12 on host"; "another process" before it has.
std::string holder(int file) {
  std::array<char, MOST_HOLDER> text{};
  const ssize_t size = ::pread(file, text.data(), text.size(), 0);
  if (size <= 0) return "another process";
  const std::string whole(text.data(), static_cast<std::size_t>(size));
  return whole.substr(0, whole.find('\n'));
}

std::string this_process() {
  std::array<char, MOST_HOLDER / 2> host{};
  (void)::gethostname(host.data(), host.size() - 1);
  return "process " + std::to_string(::getpid()) + " on " + host.data() + '\n';
}

}  // namespace

WriteLock::WriteLock(const std::string& database) {
  const std::string path = database + "-lock";
  _file = ::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0666);
  if (_file < 0) throw_system_error("write", path);
  if (::flock(_file, LOCK_EX | LOCK_NB) != 0) {
    const int error = errno;
    const std::string who = holder(_file);
    ::close(_file);
    if (error == EWOULDBLOCK) throw LockedError("the index is being written by " + who);
    errno = error;
    throw_system_error("lock", path);
  }
  // For error texts. The lock holds without it, so that a failure is ignored.
  const std::string text = this_process();
  if (::ftruncate(_file, 0) == 0) (void)!::pwrite(_file, text.data(), text.size(), 0);
}

WriteLock::~WriteLock() { ::close(_file); }

}  // namespace repository
