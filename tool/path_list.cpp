// See path_list.h.
#include "tool/path_list.h"

#include <cerrno>
#include <stdexcept>
#include <system_error>

#include "tool/arguments.h"
#include "tool/escape.h"

namespace tool {
namespace {

std::FILE* open_list(const std::string& name) {
  return name == STANDARD_INPUT ? stdin : std::fopen(name.c_str(), "re");
}

[[noreturn]] void fail(const std::string& name, const std::string& text) {
  const std::string shown = name == STANDARD_INPUT ? "standard input" : escaped(name);
  throw std::runtime_error(shown + ": " + text);
}

// In bytes. The system takes no path near this length. A file that is no list may have no
// separator.
constexpr std::size_t LONGEST_PATH = std::size_t{1} << 20;

}  // namespace

PathList::PathList(const std::string& name, char separator)
    : _name(name), _separator(separator), _file(open_list(name), std::fclose) {
  if (!_file) fail(_name, std::generic_category().message(errno));
}

std::optional<std::string> PathList::next() {
  std::string path;
  for (;;) {
    errno = 0;
    const int character = ::getc_unlocked(_file.get());
    if (character == EOF) {
      if (std::ferror(_file.get()) != 0) fail(_name, std::generic_category().message(errno));
      if (path.empty()) return std::nullopt;
      return path;
    }
    if (character == static_cast<unsigned char>(_separator)) {
      if (!path.empty()) return path;
      continue;
    }
    // No path holds a NUL. The system would open the path that ends before it.
    if (character == 0) fail(_name, "holds NUL characters; is it a list for --null?");
    if (path.size() == LONGEST_PATH) fail(_name, "holds a path of more than a MiB; is it a list?");
    path += static_cast<char>(character);
  }
}

}  // namespace tool
