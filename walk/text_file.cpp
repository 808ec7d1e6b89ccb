// See text_file.h.
#include "walk/text_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

namespace walk {
namespace {

// Users set core.excludesFile to it so that no file is read. It is no regular file.
constexpr const char* NO_FILE = "/dev/null";

int refusal(int descriptor, std::size_t most) {
  struct stat status {};
  if (::fstat(descriptor, &status) != 0) return errno;
  if (S_ISDIR(status.st_mode)) return EISDIR;
  if (!S_ISREG(status.st_mode)) return EINVAL;
  return status.st_size > static_cast<off_t>(most) ? EFBIG : 0;
}

// Reads to the end and not by the size that fstat gave, since the file may grow meanwhile.
int read_all(int descriptor, std::string& text, std::size_t most) {
  constexpr std::size_t CHUNK = std::size_t{16} << 10;
  for (;;) {
    const std::size_t size = text.size();
    text.resize(size + CHUNK);
    const ssize_t got = ::read(descriptor, text.data() + size, CHUNK);
    text.resize(size + (got > 0 ? static_cast<std::size_t>(got) : 0));
    if (got == 0) return 0;
    if (got < 0 && errno != EINTR) return errno;
    if (text.size() > most) return EFBIG;
  }
}

}  // namespace

int read_text(int folder, const std::string& path, Links links, std::string& text,
              std::size_t most) {
  text.clear();
  if (path == NO_FILE) return 0;
  const int flags = O_RDONLY | O_NONBLOCK | O_CLOEXEC | O_NOCTTY;
  const int descriptor =
      ::openat(folder, path.c_str(), links == Links::refused ? flags | O_NOFOLLOW : flags);
  if (descriptor < 0) return errno;
  int error = refusal(descriptor, most);
  if (error == 0) error = read_all(descriptor, text, most);
  ::close(descriptor);
  return error;
}

}  // namespace walk
