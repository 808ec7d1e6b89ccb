// See columns.h. Uses ICU directly, since the engine's text arithmetic has no widths.
#include "tool/columns.h"

#include <unicode/uchar.h>
#include <unicode/utf8.h>

#include <cstdint>

namespace tool {
namespace {

std::size_t columns_of(UChar32 character) {
  if (character < 0x80) return 1;
  constexpr std::uint32_t NO_COLUMN = U_GC_MN_MASK | U_GC_ME_MASK | U_GC_CF_MASK;
  if ((U_GET_GC_MASK(character) & NO_COLUMN) != 0) return 0;
  switch (u_getIntPropertyValue(character, UCHAR_EAST_ASIAN_WIDTH)) {
    case U_EA_FULLWIDTH:
    case U_EA_WIDE:
      return 2;
    default:
      return 1;
  }
}

struct Place {
  std::size_t offset;   // in bytes
  std::size_t columns;  // before it
};

// Where at most `most` columns end.

Place place_of(std::string_view text, std::size_t most) {
  Place place{0, 0};
  while (place.offset < text.size()) {
    std::size_t next = place.offset;
    UChar32 character = 0;
    U8_NEXT_UNSAFE(text.data(), next, character);
    const std::size_t width = columns_of(character);
    if (width > most - place.columns) break;
    place = {next, place.columns + width};
  }
  return place;
}

}  // namespace

std::size_t columns(std::string_view text) { return place_of(text, SIZE_MAX).columns; }

std::string_view first_columns(std::string_view text, std::size_t count) {
  return text.substr(0, place_of(text, count).offset);
}

}  // namespace tool
