// What this build is made of, for callers that store records: two builds with the same
// build_info().digest give the same records, byte for byte. A part of treesitter.h, which includes
// it.
//
// Tested by tests/package/test_build_info.py and tests/python/test_module.py.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

#include "engines/languages/languages.h"

namespace engines::treesitter {

// A digest is the SHA-256, in hexadecimal digits, of the compiled sources: of their bytes and of
// their names below the part's own folder, so that it is the same on every machine. Any change of
// them, also of a comment, changes it.
struct BuildPart {
  std::string_view version;
  std::string_view digest;
};

// The limits of one parse. Three of them grow with the file: the first number holds for an empty
// file, the second is added for each unit of the file's size. Beside these there is memory_room(),
// which depends on the machine and not on the build.
struct BuildGuards {
  std::uint64_t operations;  // of the library
  std::uint64_t operations_per_kib;
  std::uint64_t memory;  // bytes
  std::uint64_t memory_per_byte;
  std::uint64_t seconds;  // of processor time
  std::uint64_t seconds_per_mib;
  std::uint64_t scanner_state;  // bytes for each token
  std::uint64_t file;           // bytes; a larger file is not parsed
};

struct BuildInfo {
  // The SHA-256 of everything below that can change a record: all but the compiler.
  std::string digest;
  BuildPart engine;  // including the tables of its rules
  BuildPart core;    // the tree-sitter library, with the functions of it that are replaced
  std::span<const languages::LanguageInfo> grammars;
  std::span<const std::string_view> rules;  // by name
  BuildGuards guards;
  // The versions of Unicode that class characters: those of the loaded ICU and PCRE2.
  std::string unicode_of_text;
  std::string unicode_of_expressions;
  std::string_view compiler;
};

// Costs some microseconds. Throws std::bad_alloc.
BuildInfo build_info();

}  // namespace engines::treesitter
