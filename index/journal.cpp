// See journal.h. Each path under way has a slot of its own and ends with a NUL; an empty slot
// begins with one.
#include "index/journal.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "index/file_state.h"
#include "index/system_calls.h"

namespace repository {
namespace {

constexpr std::size_t SLOT = 8192;  // twice the longest path that the system opens

off_t begin_of(std::size_t slot) { return static_cast<off_t>(slot * SLOT); }

}  // namespace

Journal::Journal(const std::string& database) : _path(database + "-running") {
  _file = ::open(_path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0666);
  if (_file < 0) throw_system_error("write", _path);
  read_left();
}

Journal::~Journal() { ::close(_file); }

void Journal::read_left() {
  std::string text(SLOT, '\0');
  for (std::size_t slot = 0;; ++slot) {
    const ssize_t size = ::pread(_file, text.data(), text.size(), begin_of(slot));
    if (size <= 0) return;
    const std::size_t end = text.substr(0, static_cast<std::size_t>(size)).find('\0');
    if (end > 0 && end != std::string::npos) _left.push_back(text.substr(0, end));
  }
}

void Journal::clear() {
  if (retried([&] { return ::ftruncate(_file, 0); }) != 0) throw_system_error("write", _path);
  _left.clear();
}

void Journal::remove() { ::unlink(_path.c_str()); }

std::int64_t Journal::now() {
  struct stat status {};
  if (retried([&] { return ::pwrite(_file, "", 1, 0); }) != 1 || ::fstat(_file, &status) != 0) {
    throw_system_error("write", _path);
  }
  return nanoseconds(status.st_mtim);
}

std::size_t Journal::take_slot() {
  const std::scoped_lock lock(_mutex);
  if (_free.empty()) return _slots++;
  const std::size_t slot = _free.back();
  _free.pop_back();
  return slot;
}

// A path that cannot be written is left out. When the disk is full, the writer of the index meets
// that too, and says so.
void Journal::write(std::size_t slot, const std::string& text) {
  (void)retried([&] { return ::pwrite(_file, text.data(), text.size(), begin_of(slot)); });
}

Journal::Entry::Entry(Journal& journal, const std::string& path)
    : _journal(journal), _slot(journal.take_slot()) {
  if (path.size() < SLOT) _journal.write(_slot, path + '\0');
}

Journal::Entry::~Entry() {
  _journal.write(_slot, std::string(1, '\0'));
  const std::scoped_lock lock(_journal._mutex);
  _journal._free.push_back(_slot);
}

}  // namespace repository
