// The text of the error for a file that cannot be read.
//
// Tested by tests/file_test.cpp.
#include "engines/treesitter/text/text.h"
#include "engines/treesitter/treesitter.h"

namespace engines::treesitter {
namespace {

void append_escape(std::string& text, char letter, std::uint32_t value, int digits) {
  text.append(1, '\\').append(1, letter);
  while (digits-- > 0) text.append(1, HEXADECIMAL_DIGITS[value >> (4 * digits) & 0x0F]);
}

void append_quoted(std::string& text, std::string_view character, char32_t value, char quote) {
  if (value == static_cast<unsigned char>(quote) || value == U'\\') {
    text.append(1, '\\').append(character);
  } else if (value == U'\t' || value == U'\n' || value == U'\r') {
    text.append(1, '\\').append(1, value == U'\t' ? 't' : value == U'\n' ? 'n' : 'r');
  } else if (is_printable(value)) {
    text.append(character);
  } else if (value < 0x100) {
    append_escape(text, 'x', value, 2);
  } else if (value < 0x10000) {
    append_escape(text, 'u', value, 4);
  } else {
    append_escape(text, 'U', value, 8);
  }
}

// The path in quotes, on one line, as Python's repr shows it, so that our error texts look like
// Python's. A byte that is no UTF-8 becomes the code point U+DC00 plus the byte.
std::string quoted(const std::filesystem::path& path) {
  const std::string_view bytes = path.native();
  const bool has_apostrophe = bytes.find('\'') != std::string_view::npos;
  const bool has_quote = bytes.find('"') != std::string_view::npos;
  const char quote = has_apostrophe && !has_quote ? '"' : '\'';
  std::string text(1, quote);
  for (std::size_t offset = 0; offset < bytes.size();) {
    const IllFormed fault = find_ill_formed(bytes, offset);
    while (offset < fault.offset) {
      const CodePoint point = code_point_at(bytes, offset);
      append_quoted(text, bytes.substr(offset, point.size), point.value, quote);
      offset += point.size;
    }
    for (; offset < fault.offset + fault.size; ++offset) {
      append_escape(text, 'u', 0xDC00U | static_cast<unsigned char>(bytes[offset]), 4);
    }
  }
  return text.append(1, quote);
}

}  // namespace

FileReadError::FileReadError(int error_number, const std::filesystem::path& path)
    : FileReadError(error_number, path, std::generic_category().message(error_number)) {}

FileReadError::FileReadError(int error_number, const std::filesystem::path& path,
                             std::string description)
    : std::system_error(error_number, std::generic_category()),
      _description(std::move(description)),
      _path(path),
      _text("[Errno " + std::to_string(error_number) + "] " + _description + ": " + quoted(path)) {}

}  // namespace engines::treesitter
