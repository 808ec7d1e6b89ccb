#pragma once

// The languages that the engine knows: which one a file is written in, and its grammar.
//
//   auto name = detect_language("src/app.py");              // "python"
//   const Language* language = name ? get_language(*name) : nullptr;
//
// A language is known by its lower-case name, compared exactly. All operations may be called from
// any thread at once, keep no state that a caller could see, read no file and no environment, and
// fail only for want of memory. Every text and table handed out lives as long as the process.

#include <filesystem>
#include <optional>
#include <span>
#include <string_view>

namespace engines::languages {

class Language;  // language.h, for those who parse

// What one language consists of, as a user may ask for it.
struct LanguageInfo {
  std::string_view name;
  std::string_view grammar_package;              // the npm package that the grammar comes from
  std::string_view grammar_version;              // of that package
  std::string_view grammar_digest;               // of its sources as compiled
  std::span<const std::string_view> file_names;  // exact names that mean this language
  std::span<const std::string_view> suffixes;    // lower case, with their leading full stop
};

// The sixteen names, in the order in which the documents list them.
std::span<const std::string_view> language_names();

// The same languages in the same order, with what detects them.
std::span<const LanguageInfo> language_infos();

// The language of the file at `path`, judged by the bytes of its last component alone; none when
// nothing is known about them. An exact file name decides first, letter by letter; then the longest
// known suffix, upper and lower case of ASCII letters being alike. A suffix may be the whole name:
// a file called `.json` is JSON. A path that ends in a separator names no file and gives none. The
// file system is never touched, and the bytes need not be valid UTF-8.
std::optional<std::string_view> detect_language(const std::filesystem::path& path);

// The same language, and what in the path told it.
struct DetectedLanguage {
  std::string_view language;
  std::string_view by;  // the file name, or the suffix in lower case with its leading full stop
  bool is_by_file_name;
};
std::optional<DetectedLanguage> explain_detection(const std::filesystem::path& path);

// The language of that exact name with its grammar, or nullptr when there is none. Built on the
// first request and never destroyed, so that parsers may outlive any other object.
const Language* get_language(std::string_view name);

// The version of the tree-sitter core that the grammars run on.
std::string_view core_version();

}  // namespace engines::languages
