// See escape.h.
#include "tool/escape.h"

#include <algorithm>
#include <array>
#include <charconv>

#include "engines/treesitter/text/text.h"

namespace tool {
namespace {

using engines::treesitter::find_ill_formed;

struct CodePointRange {
  char32_t first;
  char32_t last;
};

// Code points from U+0080 on that show nothing or change the layout of the line, without
// whitespace, which is_invisible() adds.
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

void write_hexadecimal(OutputBuffer& out, std::uint32_t value, std::size_t least_digits) {
  std::array<char, 8> digits;
  const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), value, 16).ptr;
  const auto count = static_cast<std::size_t>(end - digits.data());
  for (std::size_t i = count; i < least_digits; ++i) out.write('0');
  out.write({digits.data(), count});
}

void write_byte(OutputBuffer& out, char byte) {
  out.write("\\x");
  write_hexadecimal(out, static_cast<unsigned char>(byte), 2);
}

bool is_plain(char character) { return character >= 0x20 && character < 0x7F && character != '\\'; }

void write_ascii(OutputBuffer& out, char character) {
  switch (character) {
    case '\\':
      out.write("\\\\");
      return;
    case '\n':
      out.write("\\n");
      return;
    case '\r':
      out.write("\\r");
      return;
    case '\t':
      out.write("\\t");
      return;
    default:
      write_byte(out, character);
  }
}

void write_well_formed(OutputBuffer& out, std::string_view text) {
  for (;;) {
    const auto special = std::find_if_not(text.begin(), text.end(), is_plain);
    const auto plain = static_cast<std::size_t>(special - text.begin());
    out.write(text.substr(0, plain));
    text.remove_prefix(plain);
    if (text.empty()) return;
    const auto [value, size] = engines::treesitter::code_point_at(text, 0);
    if (value < 0x80) {
      write_ascii(out, text[0]);
    } else if (is_invisible(value)) {
      out.write("\\u{");
      write_hexadecimal(out, value, 1);
      out.write('}');
    } else {
      out.write(text.substr(0, size));
    }
    text.remove_prefix(size);
  }
}

}  // namespace

void write_escaped(OutputBuffer& out, std::string_view bytes) {
  const bool ends_in_space = bytes.ends_with(' ');
  if (ends_in_space) bytes.remove_suffix(1);
  while (!bytes.empty()) {
    const auto bad = find_ill_formed(bytes);
    write_well_formed(out, bytes.substr(0, bad.offset));
    for (const char byte : bytes.substr(bad.offset, bad.size)) write_byte(out, byte);
    bytes.remove_prefix(bad.offset + bad.size);
  }
  if (ends_in_space) out.write("\\x20");
}

std::string escaped(std::string_view bytes) {
  std::string text;
  StringSink sink(text);
  OutputBuffer out(sink);
  write_escaped(out, bytes);
  out.flush();
  return text;
}

}  // namespace tool
