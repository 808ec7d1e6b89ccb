// See file_digest.h.
#include "index/file_digest.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <string_view>
#include <vector>

#include "engines/treesitter/reading/sha256.h"
#include "index/packed_file.h"

namespace repository {
namespace {

constexpr std::size_t PIECE = std::size_t{64} << 10;

std::string digest_of(int file, const Poll& poll) {
  struct stat status {};
  if (::fstat(file, &status) != 0 || !S_ISREG(status.st_mode)) return "";
  engines::treesitter::Sha256 hash;
  hash.start();
  std::vector<char> buffer(PIECE);
  while (!poll || !poll()) {
    const ssize_t size = ::read(file, buffer.data(), buffer.size());
    if (size == 0) return digest_bytes(hash.finish());
    if (size > 0) {
      hash.update(std::string_view(buffer.data(), static_cast<std::size_t>(size)));
    } else if (errno != EINTR) {
      return "";
    }
  }
  return "";
}

}  // namespace

std::string file_digest(const std::string& path, const Poll& poll) {
  constexpr int FLAGS = O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC | O_NOCTTY;
  const int file = ::open(path.c_str(), FLAGS);
  if (file < 0) return "";
  std::string digest = digest_of(file, poll);
  ::close(file);
  return digest;
}

}  // namespace repository
