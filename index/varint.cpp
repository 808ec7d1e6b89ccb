// See varint.h.
#include "index/varint.h"

#include <optional>

#include "index/index_error.h"

namespace repository {
namespace {

constexpr unsigned BITS = 7;
constexpr std::uint64_t GOES_ON = 1U << BITS;

// Takes the number in front of `bytes` away from it. None when that is no number.
std::optional<std::uint64_t> take_varint(std::string_view& bytes) {
  std::uint64_t number = 0;
  unsigned shift = 0;
  for (std::size_t i = 0; i < bytes.size() && shift < 64; ++i, shift += BITS) {
    const auto byte = static_cast<unsigned char>(bytes[i]);
    number |= (byte & (GOES_ON - 1)) << shift;
    if ((byte & GOES_ON) != 0) continue;
    bytes.remove_prefix(i + 1);
    return number;
  }
  return std::nullopt;
}

}  // namespace

void append_varint(std::string& bytes, std::uint64_t number) {
  for (; number >= GOES_ON; number >>= BITS) {
    bytes.push_back(static_cast<char>((number & (GOES_ON - 1)) | GOES_ON));
  }
  bytes.push_back(static_cast<char>(number));
}

std::string pack_rising(const std::vector<std::uint64_t>& numbers) {
  std::string bytes;
  std::uint64_t last = 0;
  for (const std::uint64_t number : numbers) {
    append_varint(bytes, number - last);
    last = number;
  }
  return bytes;
}

std::vector<std::uint64_t> unpack_rising(std::string_view bytes) {
  std::vector<std::uint64_t> numbers;
  std::uint64_t last = 0;
  while (!bytes.empty()) {
    const auto difference = take_varint(bytes);
    if (!difference) throw IndexError("it is damaged: a list of numbers does not end");
    numbers.push_back(last += *difference);
  }
  return numbers;
}

}  // namespace repository
