#pragma once

// What names a file of each language: exact file names, and suffixes of file names.
//
// Internal to this folder. Rows of data only: detection.cpp searches them, language_infos() shows
// them. Sorted, suffixes in lower case, and nothing stands in two rows; detection.cpp checks that
// when it is compiled.
//
// Tested by tests/languages_test.cpp.

#include <array>
#include <span>
#include <string_view>

namespace engines::languages {

struct Detection {
  std::string_view language;
  std::span<const std::string_view> file_names;
  std::span<const std::string_view> suffixes;
};

inline constexpr std::string_view PYTHON_SUFFIXES[] = {".py", ".pyi", ".pyw"};
inline constexpr std::string_view JAVASCRIPT_SUFFIXES[] = {".cjs", ".js", ".jsx", ".mjs"};
inline constexpr std::string_view TYPESCRIPT_SUFFIXES[] = {".cts", ".mts", ".ts"};
inline constexpr std::string_view TSX_SUFFIXES[] = {".tsx"};
inline constexpr std::string_view JAVA_SUFFIXES[] = {".java"};
inline constexpr std::string_view GO_SUFFIXES[] = {".go"};
inline constexpr std::string_view RUST_SUFFIXES[] = {".rs"};
inline constexpr std::string_view CSHARP_SUFFIXES[] = {".cs", ".csx"};
inline constexpr std::string_view RUBY_FILE_NAMES[] = {"Gemfile", "Rakefile", "Vagrantfile"};
inline constexpr std::string_view RUBY_SUFFIXES[] = {".gemspec", ".rake", ".rb"};
inline constexpr std::string_view PHP_SUFFIXES[] = {".php", ".phtml"};
inline constexpr std::string_view SQL_SUFFIXES[] = {".sql"};
inline constexpr std::string_view MARKDOWN_SUFFIXES[] = {".markdown", ".md"};
inline constexpr std::string_view XML_SUFFIXES[] = {".xml"};
inline constexpr std::string_view JSON_SUFFIXES[] = {".json"};
inline constexpr std::string_view YAML_SUFFIXES[] = {".yaml", ".yml"};
inline constexpr std::string_view TOML_SUFFIXES[] = {".toml"};

inline constexpr auto DETECTION = std::to_array<Detection>({
    {"python", {}, PYTHON_SUFFIXES},
    {"javascript", {}, JAVASCRIPT_SUFFIXES},
    {"typescript", {}, TYPESCRIPT_SUFFIXES},
    {"tsx", {}, TSX_SUFFIXES},
    {"java", {}, JAVA_SUFFIXES},
    {"go", {}, GO_SUFFIXES},
    {"rust", {}, RUST_SUFFIXES},
    {"csharp", {}, CSHARP_SUFFIXES},
    {"ruby", RUBY_FILE_NAMES, RUBY_SUFFIXES},
    {"php", {}, PHP_SUFFIXES},
    {"sql", {}, SQL_SUFFIXES},
    {"markdown", {}, MARKDOWN_SUFFIXES},
    {"xml", {}, XML_SUFFIXES},
    {"json", {}, JSON_SUFFIXES},
    {"yaml", {}, YAML_SUFFIXES},
    {"toml", {}, TOML_SUFFIXES},
});

}  // namespace engines::languages
