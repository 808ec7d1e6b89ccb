// Replaces, in a Python module that is linked statically, the parts of ICU that it never uses.
//
// The engine asks ICU only for properties of characters, whose tables are in its code. The same
// objects refer to ICU's data of 30 MB. Here that is a table of contents without entries, which ICU
// takes for missing data.
//
// Distributions compile ICU's static library for programs: it refers to the C library's variables
// of time zones in a way that a shared object must not. The linker replaces them by those below
// (--wrap); the functions that would read them are never called.
//
// Tested by tests/package/test_wheel.py.
#include <unicode/udata.h>

#include <bit>
#include <cstddef>
#include <cstdint>

namespace {

struct Contents {
  std::uint16_t header_size;
  std::uint8_t magic[2];
  UDataInfo info;
  alignas(16) std::uint32_t entry_count;
  std::uint32_t unused[3];
};

}  // namespace

extern "C" {

extern const Contents U_ICUDATA_ENTRY_POINT;
const Contents U_ICUDATA_ENTRY_POINT = {
    .header_size = 32,
    .magic = {0xDA, 0x27},
    .info = {.size = sizeof(UDataInfo),
             .reservedWord = 0,
             .isBigEndian = std::endian::native == std::endian::big,
             .charsetFamily = U_CHARSET_FAMILY,
             .sizeofUChar = U_SIZEOF_UCHAR,
             .reservedByte = 0,
             .dataFormat = {'T', 'o', 'C', 'P'},
             .formatVersion = {1, 0, 0, 0},
             .dataVersion = {0, 0, 0, 0}},
    .entry_count = 0,
    .unused = {},
};
static_assert(offsetof(Contents, entry_count) == 32);

// NOLINTNEXTLINE(bugprone-reserved-identifier)
extern long __wrap___timezone;
long __wrap___timezone = 0;
extern char* __wrap_tzname[2];
char* __wrap_tzname[2] = {};
}
