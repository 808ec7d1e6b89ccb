// See open_folder.h.
#include "walk/open_folder.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstddef>
#include <string_view>

namespace walk {
namespace {

constexpr int FOLDER_FLAGS = O_RDONLY | O_DIRECTORY | O_CLOEXEC;

// The buffer for one call of getdents64, which holds some hundreds of entries.
constexpr std::size_t ENTRY_BYTES = std::size_t{32} * 1024;

OpenFolder::Kind asked_kind(int folder, const char* name, int& error) {
  struct stat status {};
  if (::fstatat(folder, name, &status, AT_SYMLINK_NOFOLLOW) != 0) {
    error = errno;
    return OpenFolder::Kind::unknown;
  }
  if (S_ISDIR(status.st_mode)) return OpenFolder::Kind::folder;
  return S_ISLNK(status.st_mode) ? OpenFolder::Kind::link : OpenFolder::Kind::file;
}

// Some file systems do not list the kinds of entries. Then each entry is asked for its kind, which
// fails in a folder that may be read but not searched.
OpenFolder::Kind kind_of(int folder, const dirent64& entry, int& error) {
  switch (entry.d_type) {
    case DT_DIR:
      return OpenFolder::Kind::folder;
    case DT_LNK:
      return OpenFolder::Kind::link;
    case DT_UNKNOWN:
      return asked_kind(folder, entry.d_name, error);
    default:
      return OpenFolder::Kind::file;
  }
}

}  // namespace

OpenFolder& OpenFolder::operator=(OpenFolder&& other) noexcept {
  std::swap(_descriptor, other._descriptor);
  _device = other._device;
  _inode = other._inode;
  other.close();
  return *this;
}

void OpenFolder::close() {
  if (is_open()) ::close(std::exchange(_descriptor, -1));
}

// The identity is asked for here and not when the folder is opened: most are never set aside.
void OpenFolder::set_aside() {
  struct stat status {};
  if (!is_open()) return;
  if (::fstat(_descriptor, &status) == 0) {
    _device = status.st_dev;
    _inode = status.st_ino;
  }
  close();
}

bool OpenFolder::is(const OpenFolder& aside) const {
  struct stat status {};
  return aside._inode != 0 && ::fstat(_descriptor, &status) == 0 &&
         status.st_dev == aside._device && status.st_ino == aside._inode;
}

OpenFolder OpenFolder::at_path(const std::string& path) {
  return OpenFolder(::open(path.c_str(), FOLDER_FLAGS));
}

OpenFolder OpenFolder::in(const OpenFolder& parent, const std::string& name) {
  return OpenFolder(::openat(parent.descriptor(), name.c_str(), FOLDER_FLAGS | O_NOFOLLOW));
}

// Uses getdents64 and not opendir, which makes three more system calls and allocates 32 KiB for
// each folder. That shows in runs over an index in which nothing has changed.
int OpenFolder::for_each(
    const std::function<void(const char* name, Kind kind, int error)>& take) const {
  alignas(dirent64) std::array<char, ENTRY_BYTES> bytes;
  for (;;) {
    const ssize_t size = ::getdents64(_descriptor, bytes.data(), bytes.size());
    // ENOENT: the folder was removed meanwhile, so it has no entries.
    if (size <= 0) return size == 0 || errno == ENOENT ? 0 : errno;
    for (std::size_t offset = 0; offset < static_cast<std::size_t>(size);) {
      const auto& entry = *reinterpret_cast<const dirent64*>(bytes.data() + offset);
      offset += entry.d_reclen;
      const std::string_view name = entry.d_name;
      if (name == "." || name == "..") continue;
      int error = 0;
      const Kind kind = kind_of(_descriptor, entry, error);
      take(entry.d_name, kind, error);
    }
  }
}

OpenFolder::Kind OpenFolder::kind(const char* name, int& error) const {
  return asked_kind(descriptor(), name, error);
}

int OpenFolder::open_file(const std::string& name) const {
  return ::openat(descriptor(), name.c_str(),
                  O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC | O_NOCTTY);
}

}  // namespace walk
