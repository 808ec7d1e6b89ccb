// See path_list.h.
#include "tool/path_list.h"

#include <cerrno>
#include <cstdlib>
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
  throw PathListError(shown + ": " + text);
}

// Memory that getdelim allocates and enlarges.
struct LineBuffer {
  LineBuffer() = default;
  LineBuffer(const LineBuffer&) = delete;
  LineBuffer& operator=(const LineBuffer&) = delete;
  ~LineBuffer() { std::free(text); }

  char* text = nullptr;
  std::size_t capacity = 0;
};

}  // namespace

PathList::PathList(const std::string& name, char separator)
    : _name(name), _separator(separator), _file(open_list(name), std::fclose) {
  if (!_file) fail(_name, std::generic_category().message(errno));
}

std::optional<std::string> PathList::next() {
  LineBuffer line;
  for (;;) {
    errno = 0;
    const ssize_t size = ::getdelim(&line.text, &line.capacity, _separator, _file.get());
    if (size < 0 && std::feof(_file.get()) == 0)
      fail(_name, std::generic_category().message(errno));
    if (size < 0) return std::nullopt;
    std::string path(line.text, static_cast<std::size_t>(size));
    if (path.ends_with(_separator)) path.pop_back();
    // No path holds a NUL, and the system would silently read the part in front of it.
    if (path.find('\0') != std::string::npos) {
      fail(_name, "holds NUL characters; is it a list for --null?");
    }
    if (!path.empty()) return path;
  }
}

}  // namespace tool
