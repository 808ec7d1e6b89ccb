// What this build is made of, for whoever stores records: those of two builds are the same, byte
// for byte, where build_info().digest is.
//
// A part of treesitter.h, which includes it. Tested by tests/package/test_build_info.py and
// tests/python/test_module.py.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

#include "engines/languages/languages.h"

namespace engines::treesitter {

// A digest is the SHA-256 over sources as they are compiled, in hexadecimal digits: of their bytes
// and of their names below the part's own folder, so that it is the same on every machine. It
// changes with each of them, comments included.
struct BuildPart {
  std::string_view version;
  std::string_view digest;
};

// The bounds of one parse, for a file of `size` bytes: each is a floor and what `size` adds to it.
// What a machine has less of ends a parse too (memory_room), and is no matter of the build.
struct BuildGuards {
  std::uint64_t operations;  // of the library
  std::uint64_t operations_per_kib;
  std::uint64_t memory;  // bytes
  std::uint64_t memory_per_byte;
  std::uint64_t seconds;  // of processor time
  std::uint64_t seconds_per_mib;
  std::uint64_t scanner_state;  // bytes for each token
  std::uint64_t file;           // bytes that are parsed at all
};

struct BuildInfo {
  // The SHA-256 over all that decides about records: everything below but the compiler.
  std::string digest;
  BuildPart engine;  // with the tables of its rules
  BuildPart core;    // the tree-sitter library, with the functions of it that are replaced
  // Each language with its grammar's package, version and digest.
  std::span<const languages::LanguageInfo> grammars;
  std::span<const std::string_view> rules;  // by name
  BuildGuards guards;
  // The versions of Unicode by which characters are classed; those of the libraries that the
  // process has loaded.
  std::string unicode_of_text;
  std::string unicode_of_expressions;
  std::string_view compiler;
};

// Costs some microseconds. Throws std::bad_alloc.
BuildInfo build_info();

}  // namespace engines::treesitter
