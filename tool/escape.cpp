// See escape.h.
#include "tool/escape.h"

#include <array>
#include <charconv>

#include "engines/treesitter/core/text.h"

namespace tool {
namespace {

using engines::treesitter::find_ill_formed;

struct CodePointRange {
  char32_t first;
  char32_t last;
};

// Code points from U+0080 on that show nothing or change how the line is laid out; whitespace other
// than U+0020 comes on top of these.
constexpr std::array<CodePointRange, 6> INVISIBLE = {{
    {0x0080, 0x009F},  // C1 control characters
    {0x00AD, 0x00AD},  // soft hyphen
    {0x200B, 0x200F},  // zero-width characters and marks of direction
    {0x202A, 0x202E},  // embeddings and overrides of direction
    {0x2060, 0x206F},  // word joiner, isolates
    {0xFEFF, 0xFEFF},  // byte order mark
}};

bool is_invisible(char32_t value) {
  if (engines::treesitter::is_whitespace(value)) return true;
  for (const auto [first, last] : INVISIBLE) {
    if (value >= first && value <= last) return true;
  }
  return false;
}

void append_hexadecimal(std::string& out, std::uint32_t value, std::size_t least_digits) {
  std::array<char, 8> digits;
  const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), value, 16).ptr;
  const auto count = static_cast<std::size_t>(end - digits.data());
  if (count < least_digits) out.append(least_digits - count, '0');
  out.append(digits.data(), count);
}

void append_byte(std::string& out, char byte) {
  out += "\\x";
  append_hexadecimal(out, static_cast<unsigned char>(byte), 2);
}

void append_ascii(std::string& out, char character) {
  switch (character) {
    case '\\':
      out += "\\\\";
      return;
    case '\n':
      out += "\\n";
      return;
    case '\r':
      out += "\\r";
      return;
    case '\t':
      out += "\\t";
      return;
    default:
      break;
  }
  if (character < 0x20 || character == 0x7F) {
    append_byte(out, character);
  } else {
    out += character;
  }
}

void append_well_formed(std::string& out, std::string_view text) {
  for (std::size_t offset = 0; offset < text.size();) {
    const auto [value, size] = engines::treesitter::code_point_at(text, offset);
    if (value < 0x80) {
      append_ascii(out, text[offset]);
    } else if (is_invisible(value)) {
      out += "\\u{";
      append_hexadecimal(out, value, 1);
      out += '}';
    } else {
      out.append(text, offset, size);
    }
    offset += size;
  }
}

}  // namespace

void append_escaped(std::string& out, std::string_view bytes) {
  const bool ends_in_space = bytes.ends_with(' ');
  if (ends_in_space) bytes.remove_suffix(1);
  for (std::size_t offset = 0; offset < bytes.size();) {
    const auto bad = find_ill_formed(bytes, offset);
    append_well_formed(out, bytes.substr(offset, bad.offset - offset));
    for (const char byte : bytes.substr(bad.offset, bad.size)) append_byte(out, byte);
    offset = bad.offset + bad.size;
  }
  if (ends_in_space) out += "\\x20";
}

std::string escaped(std::string_view bytes) {
  std::string out;
  append_escaped(out, bytes);
  return out;
}

}  // namespace tool
