// See file_hash.h.
#include "index/file_hash.h"

#include <sys/stat.h>
#include <unistd.h>

#include <vector>

#include "engines/treesitter/reading/sha256.h"
#include "index/system_calls.h"

namespace repository {
namespace {

constexpr std::size_t PIECE = std::size_t{64} << 10;

std::string hash_of(int file, const Poll& poll) {
  struct stat status {};
  if (::fstat(file, &status) != 0 || !S_ISREG(status.st_mode)) return "";
  engines::treesitter::Sha256 hash;
  hash.start();
  std::vector<char> buffer(PIECE);
  while (!poll || !poll()) {
    const ssize_t size = retried([&] { return ::read(file, buffer.data(), buffer.size()); });
    if (size < 0) return "";
    if (size == 0) return hash_bytes(hash.finish());
    hash.update(std::string_view(buffer.data(), static_cast<std::size_t>(size)));
  }
  return "";
}

}  // namespace

std::string hash_bytes(std::string_view digits) {
  const auto value = [](char digit) { return digit <= '9' ? digit - '0' : digit - 'a' + 10; };
  std::string bytes;
  for (std::size_t i = 0; i + 1 < digits.size(); i += 2) {
    bytes.push_back(static_cast<char>(value(digits[i]) << 4 | value(digits[i + 1])));
  }
  return bytes;
}

std::string file_hash(const std::string& path, const Poll& poll) {
  const int file = open_file(path);
  if (file < 0) return "";
  std::string hash = hash_of(file, poll);
  ::close(file);
  return hash;
}

}  // namespace repository
