// Replaces the C library's functions about characters in the grammars' scanners
// (cmake/scanner_prelude.h).
//
// The C library's functions depend on the locale: a host that has called setlocale finds the XML
// element `<été>`, one that has not finds an error. These give, in every host, the answers of the C
// library in a UTF-8 locale, if ICU has the same version of Unicode. Numbers outside Unicode, with
// which scanners mark the end of the file and ill-formed bytes, have no property.
//
// ASCII is answered without ICU: scanners ask about little else, and for each character.
//
// Tested by tests/guards_test.cpp.
#include <unicode/uchar.h>

#include <cwctype>

namespace {

UChar32 code_point(wint_t character) {
  return character <= UCHAR_MAX_VALUE ? static_cast<UChar32>(character) : U_SENTINEL;
}

bool is_ascii(wint_t character) { return character < 0x80; }
bool is_ascii_digit(wint_t character) { return character >= '0' && character <= '9'; }
bool is_ascii_upper(wint_t character) { return character >= 'A' && character <= 'Z'; }
bool is_ascii_lower(wint_t character) { return character >= 'a' && character <= 'z'; }
bool is_ascii_letter(wint_t character) {
  return is_ascii_upper(character) || is_ascii_lower(character);
}

}  // namespace

// The C library does not count the separators U+001C to U+001F as space, though ICU does. Neither
// of them counts the no-break spaces.
extern "C" int treesitter_engine_iswspace(wint_t character) {
  if (is_ascii(character)) return character == ' ' || (character >= '\t' && character <= '\r');
  return u_isWhitespace(code_point(character));
}

// The C library counts the digits of scripts other than Latin as letters.
extern "C" int treesitter_engine_iswalpha(wint_t character) {
  if (is_ascii(character)) return is_ascii_letter(character);
  const UChar32 value = code_point(character);
  return u_isUAlphabetic(value) || u_isdigit(value);
}

extern "C" int treesitter_engine_iswalnum(wint_t character) {
  if (is_ascii(character)) return is_ascii_letter(character) || is_ascii_digit(character);
  const UChar32 value = code_point(character);
  return u_isUAlphabetic(value) || u_isdigit(value);
}

extern "C" int treesitter_engine_iswupper(wint_t character) {
  if (is_ascii(character)) return is_ascii_upper(character);
  return u_isUUppercase(code_point(character));
}

extern "C" int treesitter_engine_iswlower(wint_t character) {
  if (is_ascii(character)) return is_ascii_lower(character);
  return u_isULowercase(code_point(character));
}

extern "C" wint_t treesitter_engine_towlower(wint_t character) {
  if (is_ascii(character)) return is_ascii_upper(character) ? character - 'A' + 'a' : character;
  if (character > UCHAR_MAX_VALUE) return character;
  return static_cast<wint_t>(u_tolower(code_point(character)));
}
