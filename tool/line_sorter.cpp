// See line_sorter.h.
#include "tool/line_sorter.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <system_error>

#include "tool/output_buffer.h"

namespace tool {
namespace {

static_assert(LineSorter::LONGEST_LINE <= OutputBuffer::CAPACITY, "lines reach the sink whole");

[[noreturn]] void fail(int error) {
  throw std::system_error(error, std::generic_category(), "temporary file");
}

// Makes a file in TMPDIR, or in the system's own folder for such files, and unlinks it. Returns its
// descriptor.
int open_unnamed() {
  std::error_code error;
  std::string name = std::filesystem::temp_directory_path(error) / "treesitter-engine-XXXXXX";
  if (error) fail(error.value());
  const int descriptor = ::mkostemp(name.data(), O_CLOEXEC);
  if (descriptor < 0) fail(errno);
  ::unlink(name.c_str());
  return descriptor;
}

// Reads the lines of one piece.
class PieceReader {
 public:
  PieceReader(int descriptor, std::uint64_t begin, std::uint64_t end)
      : _descriptor(descriptor), _next(begin), _end(end) {
    advance();
  }

  // The current line with its line feed; empty at the end. Valid until advance().
  std::string_view line() const { return _line; }

  void advance() {
    _at += _line.size();
    std::size_t size = _buffer.find('\n', _at);
    if (size == std::string::npos) {
      fill();
      size = _buffer.find('\n', _at);
    }
    _line = size == std::string::npos ? std::string_view()
                                      : std::string_view(_buffer).substr(_at, size + 1 - _at);
  }

 private:
  void fill() {
    _buffer.erase(0, _at);
    _at = 0;
    std::size_t size = _buffer.size();
    const std::size_t more = std::min<std::uint64_t>(LineSorter::LONGEST_LINE - size, _end - _next);
    _buffer.resize(size + more);
    while (size < _buffer.size()) {
      const ssize_t count = ::pread(_descriptor, _buffer.data() + size, _buffer.size() - size,
                                    static_cast<off_t>(_next));
      if (count < 0 && errno == EINTR) continue;
      if (count <= 0) fail(count < 0 ? errno : EIO);
      size += static_cast<std::size_t>(count);
      _next += static_cast<std::uint64_t>(count);
    }
  }

  int _descriptor;
  std::uint64_t _next;  // in the file
  std::uint64_t _end;
  std::string _buffer;
  std::size_t _at = 0;  // of the line
  std::string_view _line;
};

// The order of a heap whose front has the least line.
bool is_behind(const PieceReader* one, const PieceReader* other) {
  return one->line() > other->line();
}

class FileSink final : public ByteSink {
 public:
  explicit FileSink(int descriptor) : _descriptor(descriptor) {}
  void write(std::string_view bytes) override {
    if (const int error = write_all(_descriptor, bytes); error != 0) fail(error);
  }

 private:
  const int _descriptor;
};

}  // namespace

void LineSorter::write(std::string_view bytes) {
  while (!bytes.empty()) {
    const std::size_t end = std::min(bytes.find('\n'), bytes.size() - 1) + 1;
    take(bytes.substr(0, end));
    bytes.remove_prefix(end);
  }
}

// `part`: of one line, or all of it.
void LineSorter::take(std::string_view part) {
  const bool is_end = part.ends_with('\n');
  if (!_is_too_long && _text.size() - _line_begin + part.size() > LONGEST_LINE) {
    _is_too_long = true;
    ++_left_out;
    _text.resize(_line_begin);
  }
  if (_is_too_long) {
    _is_too_long = !is_end;
    return;
  }
  _text.reserve(_memory);  // only address space until it is written to
  _text += part;
  if (!is_end) return;
  _line_begin = _text.size();
  ++_line_count;
  const std::size_t held = _text.size() + _line_count * sizeof(std::string_view);
  if (held + LONGEST_LINE > _memory) write_piece();
}

std::vector<std::string_view> LineSorter::sorted_lines() const {
  std::vector<std::string_view> lines;
  lines.reserve(_line_count);
  const std::string_view text(_text);
  for (std::size_t begin = 0; begin < _line_begin; begin += lines.back().size()) {
    lines.push_back(text.substr(begin, text.find('\n', begin) + 1 - begin));
  }
  std::sort(lines.begin(), lines.end());
  return lines;
}

void LineSorter::write_piece() {
  if (_pieces.size() == _memory / LONGEST_LINE) {
    throw std::length_error("these are more tags than can be sorted; take fewer files at a time");
  }
  if (!_file) _file.emplace(open_unnamed());
  FileSink sink(_file->number());
  OutputBuffer out(sink);
  for (const auto line : sorted_lines()) out.write(line);
  out.flush();
  const std::uint64_t begin = _pieces.empty() ? 0 : _pieces.back().end;
  _pieces.push_back({begin, begin + _text.size()});
  _text.clear();
  _line_begin = _line_count = 0;
}

void LineSorter::write_sorted(ByteSink& sink) {
  if (_pieces.empty()) {
    OutputBuffer out(sink);
    for (const auto line : sorted_lines()) out.write(line);
    out.flush();
    return;
  }
  if (_line_count > 0) write_piece();
  std::string().swap(_text);
  merge(sink);
}

void LineSorter::merge(ByteSink& sink) const {
  std::vector<PieceReader> readers;
  readers.reserve(_pieces.size());  // the heap points to them, so they must not move
  std::vector<PieceReader*> heap;
  for (const auto& [begin, end] : _pieces) {
    heap.push_back(&readers.emplace_back(_file->number(), begin, end));
  }
  std::make_heap(heap.begin(), heap.end(), is_behind);
  OutputBuffer out(sink);
  while (!heap.empty()) {
    std::pop_heap(heap.begin(), heap.end(), is_behind);
    PieceReader& reader = *heap.back();
    out.write(reader.line());
    reader.advance();
    if (reader.line().empty()) {
      heap.pop_back();
    } else {
      std::push_heap(heap.begin(), heap.end(), is_behind);
    }
  }
  out.flush();
}

}  // namespace tool
