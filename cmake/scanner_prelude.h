// Included by the compiler in front of each grammar's scanner.c: what the engine needs otherwise in
// the installed sources, which stay untouched. The system headers that declare what is replaced
// here come first, so that the macros meet calls only.
//
// Memory: every scanner's comes from the arena of the parse (allocator.h). Most scanners ask for it
// by ts_malloc, but some (Python, Markdown, SQL) call malloc itself, and their memory would escape
// the budget and the arena. The macros are function-like: a member or a variable called `free`
// stays what it is.
//
// State: scanners stop, or write past the end, at the core's 1,024 bytes. The engine hands them a
// larger buffer, keeps what the core has no room for, and checks each copy into it
// (parsing/guarded_grammar.h).
//
// Characters: the C library's answers about characters follow the locale that the host has set, so
// that one file would give several results; the scanners get Unicode's
// (text/text_for_scanners.cpp). Markdown asks isdigit about any code point, and the C library looks
// it up in a table of 384.
//
// YAML: its scanner counts rows and columns in 16 bits, and finds no key from row 32,768 on.
// Counted in 32 bits it does.
#pragma once

#include <ctype.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <wchar.h>
#include <wctype.h>

#include "allocator.h"
#include "tree_sitter/parser.h"

#define malloc(size) treesitter_engine_allocate(size)
#define calloc(count, size) treesitter_engine_allocate_zeroed(count, size)
#define realloc(block, size) treesitter_engine_reallocate(block, size)
#define free(block) treesitter_engine_deallocate(block)

#undef TREE_SITTER_SERIALIZATION_BUFFER_SIZE
#define TREE_SITTER_SERIALIZATION_BUFFER_SIZE (64 * 1024)

extern void* treesitter_engine_copy(void* destination, const void* source, size_t size);
#undef memcpy
#define memcpy(destination, source, size) treesitter_engine_copy(destination, source, size)

extern int treesitter_engine_iswspace(wint_t character);
extern int treesitter_engine_iswalpha(wint_t character);
extern int treesitter_engine_iswalnum(wint_t character);
extern int treesitter_engine_iswupper(wint_t character);
extern int treesitter_engine_iswlower(wint_t character);
extern wint_t treesitter_engine_towlower(wint_t character);
#undef iswspace
#undef iswalpha
#undef iswalnum
#undef iswupper
#undef iswlower
#undef towlower
#undef isdigit
#define iswspace(character) treesitter_engine_iswspace((wint_t)(character))
#define iswalpha(character) treesitter_engine_iswalpha((wint_t)(character))
#define iswalnum(character) treesitter_engine_iswalnum((wint_t)(character))
#define iswupper(character) treesitter_engine_iswupper((wint_t)(character))
#define iswlower(character) treesitter_engine_iswlower((wint_t)(character))
#define towlower(character) treesitter_engine_towlower((wint_t)(character))
#define isdigit(character) iswdigit((wint_t)(character))

#ifdef TREESITTER_ENGINE_WIDE_ROWS
#define int16_t int32_t
#endif

// No scanner uses the following; one that begins to does not compile. The first ones allocate
// inside the C library, past the arena, and their result would then be freed in the arena.
#pragma GCC poison strdup strndup wcsdup asprintf vasprintf getline getdelim reallocarray
#pragma GCC poison aligned_alloc posix_memalign open_memstream
#pragma GCC poison isalnum isalpha isblank iscntrl isgraph islower isprint ispunct isspace isupper
#pragma GCC poison isxdigit tolower toupper iswblank iswcntrl iswgraph iswprint iswpunct towupper
