// See text.h. The properties of characters come from ICU.
//
// Nearly all source text is ASCII, so where whole files are read, ASCII bytes are skipped eight at
// a time.
#include "engines/treesitter/text/text.h"

#include <unicode/uchar.h>

#include <algorithm>
#include <iterator>

#include "engines/treesitter/treesitter.h"

namespace engines::treesitter {
namespace {

// All whitespace outside ASCII and U+2000-200A.
constexpr char32_t RARE_WHITESPACE[] = {
    U'\x85', U'\xA0', U'\u1680', U'\u2028', U'\u2029', U'\u202F', U'\u205F', U'\u3000',
};

constexpr std::string_view REPLACEMENT = "\xEF\xBF\xBD";  // U+FFFD

unsigned char byte_at(std::string_view bytes, std::size_t offset) {
  return static_cast<unsigned char>(bytes[offset]);
}

bool is_continuation(unsigned char byte) { return (byte & 0xC0) == 0x80; }

// What follows from the first byte of a sequence: the sequence's size (0 for a byte that starts
// none) and the range of its second byte, which excludes overlong forms, surrogates and values past
// U+10FFFF.
struct Lead {
  std::size_t size;
  unsigned char second_min;
  unsigned char second_max;
};

Lead lead_of(unsigned char byte) {
  if (byte < 0x80) return {1, 0, 0};
  if (byte < 0xC2) return {0, 0, 0};
  if (byte < 0xE0) return {2, 0x80, 0xBF};
  if (byte == 0xE0) return {3, 0xA0, 0xBF};
  if (byte == 0xED) return {3, 0x80, 0x9F};
  if (byte < 0xF0) return {3, 0x80, 0xBF};
  if (byte == 0xF0) return {4, 0x90, 0xBF};
  if (byte < 0xF4) return {4, 0x80, 0xBF};
  if (byte == 0xF4) return {4, 0x80, 0x8F};
  return {0, 0, 0};
}

// How many bytes at `offset` are the start of a well-formed sequence, and the size of that
// sequence.
struct Sequence {
  std::size_t present;
  std::size_t size;
};

Sequence sequence_at(std::string_view bytes, std::size_t offset) {
  const Lead lead = lead_of(byte_at(bytes, offset));
  if (lead.size <= 1) return {lead.size, lead.size == 0 ? 1 : lead.size};
  std::size_t present = 1;
  while (present < lead.size && offset + present < bytes.size()) {
    const unsigned char byte = byte_at(bytes, offset + present);
    const bool fits =
        present == 1 ? byte >= lead.second_min && byte <= lead.second_max : is_continuation(byte);
    if (!fits) break;
    ++present;
  }
  return {present, lead.size};
}

// The offset of the first byte at or after `offset` that is not ASCII. Takes steps of eight bytes.
std::size_t skip_ascii(std::string_view bytes, std::size_t offset) {
  constexpr std::uint64_t HIGH_BITS = 0x8080808080808080;
  while (offset + sizeof(std::uint64_t) <= bytes.size()) {
    std::uint64_t word = 0;
    bytes.copy(reinterpret_cast<char*>(&word), sizeof word, offset);
    if ((word & HIGH_BITS) != 0) break;
    offset += sizeof word;
  }
  while (offset < bytes.size() && byte_at(bytes, offset) < 0x80) ++offset;
  return offset;
}

// The start of the code point that ends just before `end`.
std::size_t previous_start(std::string_view text, std::size_t end) {
  std::size_t start = end - 1;
  while (start > 0 && is_continuation(byte_at(text, start))) --start;
  return start;
}

}  // namespace

CodePoint code_point_at(std::string_view text, std::size_t offset) {
  const unsigned char lead = byte_at(text, offset);
  if (lead < 0x80) return {lead, 1};
  const std::size_t size = lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
  char32_t value = lead & (0x7FU >> size);
  for (std::size_t i = 1; i < size; ++i) value = value << 6 | (byte_at(text, offset + i) & 0x3FU);
  return {value, size};
}

bool is_ascii(std::string_view bytes) { return skip_ascii(bytes, 0) == bytes.size(); }

bool is_whitespace(char32_t value) {
  if (value <= U' ') return value == U' ' || (value >= 0x09 && value <= 0x0D) || value >= 0x1C;
  if (value < 0x80) return false;
  if (value >= 0x2000 && value <= 0x200A) return true;
  return std::find(std::begin(RARE_WHITESPACE), std::end(RARE_WHITESPACE), value) !=
         std::end(RARE_WHITESPACE);
}

std::string_view trim_start(std::string_view text) {
  std::size_t begin = 0;
  while (begin < text.size()) {
    const CodePoint point = code_point_at(text, begin);
    if (!is_whitespace(point.value)) break;
    begin += point.size;
  }
  return text.substr(begin);
}

std::string_view trim_end(std::string_view text) {
  while (!text.empty()) {
    const std::size_t start = previous_start(text, text.size());
    if (!is_whitespace(code_point_at(text, start).value)) break;
    text = text.substr(0, start);
  }
  return text;
}

std::string_view trim(std::string_view text) { return trim_end(trim_start(text)); }

std::size_t length(std::string_view text, std::size_t at_most) {
  std::size_t count = 0;
  for (std::size_t offset = 0; offset < text.size(); ++offset) {
    if (is_continuation(byte_at(text, offset))) continue;
    if (count == at_most) break;
    ++count;
  }
  return count;
}

std::string_view first(std::string_view text, std::size_t count) {
  if (text.size() <= count) return text;
  std::size_t offset = 0;
  for (; count > 0 && offset < text.size(); --count) offset += code_point_at(text, offset).size;
  return text.substr(0, offset);
}

std::vector<std::string_view> split(std::string_view text, char separator) {
  std::vector<std::string_view> pieces;
  std::size_t begin = 0;
  for (std::size_t found; (found = text.find(separator, begin)) != std::string_view::npos;) {
    pieces.push_back(text.substr(begin, found - begin));
    begin = found + 1;
  }
  pieces.push_back(text.substr(begin));
  return pieces;
}

std::vector<std::string_view> split_whitespace(std::string_view text) {
  std::vector<std::string_view> pieces;
  for (text = trim_start(text); !text.empty(); text = trim_start(text)) {
    std::size_t end = 0;
    while (end < text.size()) {
      const CodePoint point = code_point_at(text, end);
      if (is_whitespace(point.value)) break;
      end += point.size;
    }
    pieces.push_back(text.substr(0, end));
    text.remove_prefix(end);
  }
  return pieces;
}

char32_t last_code_point(std::string_view text) {
  return code_point_at(text, previous_start(text, text.size())).value;
}

bool is_upper(std::string_view text) {
  bool cased = false;
  for (std::size_t offset = 0; offset < text.size();) {
    const CodePoint point = code_point_at(text, offset);
    const auto value = static_cast<UChar32>(point.value);
    if (u_hasBinaryProperty(value, UCHAR_LOWERCASE) || u_istitle(value)) return false;
    cased = cased || u_hasBinaryProperty(value, UCHAR_UPPERCASE);
    offset += point.size;
  }
  return cased;
}

bool is_word(char32_t value) {
  if (value == U'_') return true;
  return (U_GET_GC_MASK(static_cast<UChar32>(value)) & (U_GC_L_MASK | U_GC_N_MASK)) != 0;
}

bool is_printable(char32_t value) {
  if (value == U' ') return true;
  return (U_GET_GC_MASK(static_cast<UChar32>(value)) & (U_GC_C_MASK | U_GC_Z_MASK)) == 0;
}

IllFormed find_ill_formed(std::string_view bytes, std::size_t offset, std::size_t until) {
  until = std::min(until, bytes.size());
  // This may skip ASCII beyond `until`, which costs next to nothing.
  while ((offset = skip_ascii(bytes, offset)) < until) {
    const Sequence sequence = sequence_at(bytes, offset);
    if (sequence.present < sequence.size) {
      return {offset, std::max<std::size_t>(sequence.present, 1)};
    }
    offset += sequence.size;
  }
  return {offset, 0};
}

std::string decode_replacing(std::string_view bytes) {
  std::string text;
  text.reserve(bytes.size());
  std::size_t begin = 0;
  for (IllFormed fault; (fault = find_ill_formed(bytes, begin)).size > 0;) {
    text.append(bytes, begin, fault.offset - begin).append(REPLACEMENT);
    begin = fault.offset + fault.size;
  }
  return text.append(bytes, begin);
}

void require_utf8(std::string_view bytes) {
  const IllFormed fault = find_ill_formed(bytes);
  if (fault.size == 0) return;
  const std::size_t end = fault.offset + fault.size;
  const bool is_start = lead_of(byte_at(bytes, fault.offset)).size > 0;
  const char* reason = !is_start            ? "invalid start byte"
                       : end < bytes.size() ? "invalid continuation byte"
                                            : "unexpected end of data";
  throw Utf8Error(std::string(bytes), fault.offset, end, reason);
}

std::string unicode_version() {
  UVersionInfo version{};
  u_getUnicodeVersion(version);
  return std::to_string(version[0]) + '.' + std::to_string(version[1]);
}

}  // namespace engines::treesitter
