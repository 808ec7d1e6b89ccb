// See json_string.h. Copies eight bytes at a time where none of them needs an escape.
#include "tool/json_string.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>

#include "engines/treesitter/text/text.h"

namespace tool {
namespace {

constexpr std::string_view REPLACEMENT = "\xEF\xBF\xBD";  // U+FFFD

// The length of \u00NN.
constexpr std::size_t LONGEST_ESCAPE = 6;
// How many bytes are written at a time: they fit into the buffer even if each is escaped.
constexpr std::size_t PIECE = OutputBuffer::CAPACITY / LONGEST_ESCAPE;

constexpr char PLAIN = 0;        // the byte stands for itself
constexpr char BY_NUMBER = 'u';  // \u00NN

// For each byte one of the above, or the character behind the backslash.
constexpr std::array<char, 256> ESCAPES = [] {
  std::array<char, 256> escapes{};  // PLAIN
  for (std::size_t control = 0; control < 0x20; ++control) escapes[control] = BY_NUMBER;
  escapes['\b'] = 'b';
  escapes['\f'] = 'f';
  escapes['\n'] = 'n';
  escapes['\r'] = 'r';
  escapes['\t'] = 't';
  escapes['"'] = '"';
  escapes['\\'] = '\\';
  return escapes;
}();

using engines::treesitter::HEXADECIMAL_DIGITS;

using Word = std::uint64_t;
constexpr Word EACH_BYTE = 0x0101010101010101;
constexpr Word HIGH_BITS = 0x80 * EACH_BYTE;

// The result has the high bit of some byte set when some byte of the word is less than `limit`,
// which is at most 128.
constexpr Word less_than(Word word, Word limit) { return (word - limit * EACH_BYTE) & ~word; }

bool is_plain(Word word) {
  const Word found = less_than(word, 0x20) | less_than(word ^ ('"' * EACH_BYTE), 1) |
                     less_than(word ^ ('\\' * EACH_BYTE), 1);
  return (found & HIGH_BITS) == 0;
}

char* put(char* to, char character) {
  const auto byte = static_cast<unsigned char>(character);
  const char escape = ESCAPES[byte];
  if (escape == PLAIN) {
    *to++ = character;
    return to;
  }
  *to++ = '\\';
  *to++ = escape;
  if (escape != BY_NUMBER) return to;
  for (const char digit :
       {'0', '0', HEXADECIMAL_DIGITS[byte >> 4], HEXADECIMAL_DIGITS[byte & 0xF]}) {
    *to++ = digit;
  }
  return to;
}

void write_piece(OutputBuffer& out, std::string_view piece) {
  char* to = out.room(piece.size() * LONGEST_ESCAPE);
  const char* from = piece.data();
  const char* const end = from + piece.size();
  while (end - from >= static_cast<std::ptrdiff_t>(sizeof(Word))) {
    Word word = 0;
    std::memcpy(&word, from, sizeof word);
    if (is_plain(word)) {
      std::memcpy(to, &word, sizeof word);
      to += sizeof word;
    } else {
      for (std::size_t i = 0; i < sizeof word; ++i) to = put(to, from[i]);
    }
    from += sizeof word;
  }
  while (from != end) to = put(to, *from++);
  out.commit(to);
}

}  // namespace

void write_json_string(OutputBuffer& out, std::string_view bytes) {
  out.write('"');
  while (!bytes.empty()) {
    const auto bad = engines::treesitter::find_ill_formed(bytes);
    // Only ASCII is escaped, so a piece may end within a character.
    for (std::size_t offset = 0; offset < bad.offset; offset += PIECE) {
      write_piece(out, bytes.substr(offset, std::min(PIECE, bad.offset - offset)));
    }
    if (bad.size > 0) out.write(REPLACEMENT);
    bytes.remove_prefix(bad.offset + bad.size);
  }
  out.write('"');
}

}  // namespace tool
