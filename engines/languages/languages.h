// The sixteen languages of the engine: which one a file is written in, and its grammar.
//
//   auto name = detect_language("src/app.py");              // "python"
//   const Language* language = name ? get_language(*name) : nullptr;
//
// A language is named by a lower-case text, which is compared exactly. All operations may be called
// by several threads at once. They read no file and no environment, and throw nothing but
// std::bad_alloc. All texts and tables that they give live as long as the process.
//
// Tested by tests/languages_test.cpp and tests/detection_test.cpp.
#pragma once

#include <filesystem>
#include <optional>
#include <span>
#include <string_view>

namespace engines::languages {

class Language;  // language.h, which is not installed

// What makes up one language.
struct LanguageInfo {
  std::string_view name;
  std::string_view grammar_package;              // the npm package that the grammar comes from
  std::string_view grammar_version;              // of that package
  std::string_view grammar_digest;               // of its sources (engines/treesitter/build_info.h)
  std::span<const std::string_view> file_names;  // whole names of files in this language
  std::span<const std::string_view> suffixes;    // in lower case, with the leading full stop
};

// The sixteen names, in the order in which the documents list them.
std::span<const std::string_view> language_names();

// The same languages, in the same order.
std::span<const LanguageInfo> language_infos();

// The language of the file at `path`, or none. Only the last component of the path counts, which
// may be any bytes; the file system is not asked. First the whole name is looked up, in exactly
// this spelling, then the longest suffix in the lists, for which ASCII letters of both cases are
// alike. A suffix may be the whole name: a file called `.json` is JSON. A path that ends in a
// separator names no file and gives none.
std::optional<std::string_view> detect_language(const std::filesystem::path& path);

// The same language, and the part of the path that gave it.
struct DetectedLanguage {
  std::string_view language;
  std::string_view by;  // the file name, or the suffix in lower case with its leading full stop
  bool is_by_file_name;
};
std::optional<DetectedLanguage> explain_detection(const std::filesystem::path& path);

// The language of this name with its grammar, or nullptr when there is none. Built at the first
// call and never destroyed, so that parsers may outlive every other object.
const Language* get_language(std::string_view name);

// The version of the tree-sitter core that the grammars run on.
std::string_view core_version();

}  // namespace engines::languages
