// See tracked_files.h.
#include "walk/tracked_files.h"

#include <cerrno>
#include <optional>

namespace walk {
namespace {

constexpr std::string_view SIGNATURE = "DIRC";
constexpr std::size_t STATUS = 40;     // bytes of an entry before its object's name
constexpr std::size_t FLAGS = 2;       // bytes of flags after the name
constexpr unsigned EXTENDED = 0x4000;  // a flag: as many bytes of further flags follow
constexpr std::size_t ALIGNMENT = 8;   // of entries before version 4, filled up with NULs
constexpr std::uint32_t OLDEST = 2;
constexpr std::uint32_t COMPRESSED = 4;  // the version in which a path leaves out the beginning
                                         // that it shares with the one before

// Reads the bytes of an index from front to end, and never beyond.
class Reader {
 public:
  explicit Reader(std::string_view bytes) : _bytes(bytes) {}

  bool has(std::size_t size) const { return _bytes.size() - _at >= size; }
  std::size_t at() const { return _at; }

  bool skip(std::size_t size) {
    if (!has(size)) return false;
    _at += size;
    return true;
  }

  std::optional<std::uint32_t> number(std::size_t size) {
    if (!has(size)) return std::nullopt;
    std::uint32_t number = 0;
    for (; size > 0; --size) number = number << 8 | static_cast<unsigned char>(_bytes[_at++]);
    return number;
  }

  // git's own form: seven bits in each byte, the highest first, and each byte but the last adds
  // one.
  std::optional<std::size_t> varint() {
    std::size_t number = 0;
    for (bool goes_on = true; goes_on;) {
      if (!has(1) || number > SIZE_MAX >> 8) return std::nullopt;
      const auto byte = static_cast<unsigned char>(_bytes[_at++]);
      number = number << 7 | (byte & 0x7F);
      goes_on = (byte & 0x80) != 0;
      if (goes_on) ++number;
    }
    return number;
  }

  std::optional<std::string_view> text() {
    const std::size_t end = _bytes.find('\0', _at);
    if (end == std::string_view::npos) return std::nullopt;
    const std::string_view text = _bytes.substr(_at, end - _at);
    _at = end + 1;
    return text;
  }

 private:
  std::string_view _bytes;
  std::size_t _at = 0;
};

// Reads the path of an entry into `path`, which holds the one before it. `begin`: where the entry
// begins.
bool read_path(Reader& reader, std::uint32_t version, std::size_t begin, std::string& path) {
  if (version == COMPRESSED) {
    const auto dropped = reader.varint();
    const auto rest = reader.text();
    if (!dropped || !rest || *dropped > path.size()) return false;
    path.resize(path.size() - *dropped);
    path += *rest;
    return true;
  }
  const auto text = reader.text();
  if (!text) return false;
  path = *text;
  const std::size_t size = reader.at() - begin;
  return reader.skip((ALIGNMENT - size % ALIGNMENT) % ALIGNMENT);
}

}  // namespace

void TrackedFiles::add(std::string_view path) {
  if (!is_empty() && this->path(_begins.size() - 1) == path) return;  // stages of a conflict
  _begins.push_back(_paths.size());
  _paths.append(path).append(1, '\0');
}

int TrackedFiles::read(const std::string& index, std::size_t hash_size) {
  Reader reader(index);
  if (!index.starts_with(SIGNATURE) || !reader.skip(SIGNATURE.size())) return EBADMSG;
  const auto version = reader.number(4);
  const auto count = reader.number(4);
  if (!version || !count || *version < OLDEST || *version > COMPRESSED) return EBADMSG;
  std::string path;
  bool is_sorted = true;
  for (std::uint32_t i = 0; i < *count; ++i) {
    const std::size_t begin = reader.at();
    if (!reader.skip(STATUS + hash_size)) return EBADMSG;
    const auto flags = reader.number(FLAGS);
    if (!flags || ((*flags & EXTENDED) != 0 && !reader.skip(FLAGS))) return EBADMSG;
    if (!read_path(reader, *version, begin, path)) return EBADMSG;
    is_sorted = is_sorted && (is_empty() || this->path(_begins.size() - 1) <= path);
    add(path);
  }
  // git always writes them sorted, and refuses an index that is not.
  return is_sorted ? 0 : EBADMSG;
}

std::string_view TrackedFiles::path(std::size_t number) const {
  const std::size_t end = number + 1 < _begins.size() ? _begins[number + 1] : _paths.size();
  return std::string_view(_paths).substr(_begins[number], end - _begins[number] - 1);
}

// The number of the first path that is not less than this one.
std::size_t TrackedFiles::first_from(std::string_view path) const {
  std::size_t first = 0;
  for (std::size_t count = _begins.size(); count > 0;) {
    const std::size_t half = count / 2;
    if (this->path(first + half) < path) {
      first += half + 1;
      count -= half + 1;
    } else {
      count = half;
    }
  }
  return first;
}

bool TrackedFiles::has_file(std::string_view path) const {
  const std::size_t first = first_from(path);
  return first < _begins.size() && this->path(first) == path;
}

bool TrackedFiles::has_folder(std::string_view path) const {
  if (has_file(path)) return true;
  const std::string below = std::string(path) + '/';
  const std::size_t first = first_from(below);
  return first < _begins.size() && this->path(first).starts_with(below);
}

}  // namespace walk
