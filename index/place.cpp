// See place.h.
#include "index/place.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <memory>
#include <string_view>

#include "index/index_error.h"
#include "index/system_calls.h"
#include "walk/repository.h"

namespace repository {
namespace {

constexpr const char* DATABASE_NAME = "index.sqlite";

std::string absolute(const std::string& path) {
  const std::unique_ptr<char, decltype(&std::free)> real(::realpath(path.c_str(), nullptr),
                                                         &std::free);
  if (!real) throw_system_error("find", path);
  return real.get();
}

// An INDEX_FOLDER of a stranger's does not count: in a folder that all may write to, such as /tmp,
// anybody can make one.
bool holds_index(const std::string& folder, const struct stat& status) {
  struct stat index {};
  return ::lstat((with_slash(folder) + INDEX_FOLDER).c_str(), &index) == 0 &&
         S_ISDIR(index.st_mode) && (index.st_uid == ::geteuid() || index.st_uid == status.st_uid);
}

bool is_repository(const std::string& folder) {
  struct stat status {};
  return ::stat((with_slash(folder) + walk::GIT_FOLDER).c_str(), &status) == 0;
}

// The search ends at the boundary of the file system, as git's does.
std::optional<std::string> root_above(std::string folder) {
  struct stat status {};
  if (::stat(folder.c_str(), &status) != 0) return std::nullopt;
  const dev_t device = status.st_dev;
  while (!is_repository(folder) && !holds_index(folder, status)) {
    if (folder == "/") return std::nullopt;
    folder.resize(std::max<std::size_t>(1, folder.rfind('/')));
    if (::stat(folder.c_str(), &status) != 0 || status.st_dev != device) return std::nullopt;
  }
  return folder;
}

// Its folder must exist, the file need not.
std::string absolute_file(const std::string& path) {
  const std::size_t slash = path.rfind('/');
  const std::string name = slash == std::string::npos ? path : path.substr(slash + 1);
  if (name.empty() || name == "." || name == "..") {
    throw IndexError("'" + path + "' is no name for a database");
  }
  const std::string folder = slash == std::string::npos ? "." : path.substr(0, slash + 1);
  return with_slash(absolute(folder)) + name;
}

}  // namespace

std::string with_slash(std::string folder) {
  if (!folder.ends_with('/')) folder += '/';
  return folder;
}

Place find_place(const std::string& path, const std::optional<std::string>& database) {
  const std::string named = absolute(path);
  struct stat status {};
  if (::stat(named.c_str(), &status) != 0) throw_system_error("find", path);
  if (!S_ISDIR(status.st_mode)) throw IndexError("'" + path + "' is no folder");
  Place place{root_above(named).value_or(named), {}, !database};
  place.database = database ? absolute_file(*database)
                            : with_slash(with_slash(place.root) + INDEX_FOLDER) + DATABASE_NAME;
  return place;
}

void make_folder(const Place& place) {
  if (!place.is_default) return;
  const std::string folder = with_slash(place.root) + INDEX_FOLDER;
  if (::mkdir(folder.c_str(), 0777) != 0 && errno != EEXIST) throw_system_error("make", folder);
  const std::string ignore = folder + "/.gitignore";
  const int file = ::open(ignore.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
  if (file < 0 && errno == EEXIST) return;
  if (file < 0) throw_system_error("write", ignore);
  std::string_view rest = "*\n";
  while (!rest.empty()) {
    const ssize_t size = retried([&] { return ::write(file, rest.data(), rest.size()); });
    if (size < 0) break;
    rest.remove_prefix(static_cast<std::size_t>(size));
  }
  const int error = errno;
  ::close(file);
  if (rest.empty()) return;
  ::unlink(ignore.c_str());
  errno = error;
  throw_system_error("write", ignore);
}

}  // namespace repository
