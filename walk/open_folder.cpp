// See open_folder.h.
#include "walk/open_folder.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <string_view>

namespace walk {
namespace {

constexpr int FOLDER_FLAGS = O_RDONLY | O_DIRECTORY | O_CLOEXEC;

OpenFolder::Kind asked_kind(int folder, const char* name, int& error) {
  struct stat status {};
  if (::fstatat(folder, name, &status, AT_SYMLINK_NOFOLLOW) != 0) {
    error = errno;
    return OpenFolder::Kind::unknown;
  }
  if (S_ISDIR(status.st_mode)) return OpenFolder::Kind::folder;
  return S_ISLNK(status.st_mode) ? OpenFolder::Kind::link : OpenFolder::Kind::file;
}

// File systems may leave it open what an entry is; then it is asked for, which a folder that may be
// listed and not entered does not allow.
OpenFolder::Kind kind_of(int folder, const dirent& entry, int& error) {
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

OpenFolder OpenFolder::opened(int descriptor) {
  OpenFolder folder;
  struct stat status {};
  if (descriptor < 0) return folder;
  if (::fstat(descriptor, &status) == 0) folder._stream.reset(::fdopendir(descriptor));
  if (!folder.is_open()) {
    const int error = errno;
    ::close(descriptor);
    errno = error;
  }
  folder._device = status.st_dev;
  folder._number = status.st_ino;
  return folder;
}

OpenFolder OpenFolder::at_path(const std::string& path) {
  return opened(::open(path.c_str(), FOLDER_FLAGS));
}

OpenFolder OpenFolder::in(const OpenFolder& parent, const std::string& name) {
  return opened(::openat(parent.descriptor(), name.c_str(), FOLDER_FLAGS | O_NOFOLLOW));
}

int OpenFolder::for_each(
    const std::function<void(const char* name, Kind kind, int error)>& take) const {
  for (;;) {
    errno = 0;
    const dirent* const entry = ::readdir(_stream.get());
    if (entry == nullptr) return errno;
    const std::string_view name = entry->d_name;
    if (name == "." || name == "..") continue;
    int error = 0;
    const Kind kind = kind_of(descriptor(), *entry, error);
    take(entry->d_name, kind, error);
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
