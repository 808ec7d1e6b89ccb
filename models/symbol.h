// The symbol model: one record per declaration, as an index stores it.
//
// A Symbol is built from SymbolArguments, and its constructor rejects a kind or lines that cannot
// be. It is a plain value then: it owns its texts and is compared field by field.
//
// Tested by tests/models_test.cpp.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace engines::models {

// What a symbol is: the numbers from 0 on, without a gap.
enum class SymbolKind : std::uint8_t {
  class_,
  function,
  method,
  interface,
  type,
  enum_,
  variable,
  module,
  constant,
};

// The kind's text, which is its name without the trailing underscore. The view lives as long as the
// process. The compiler warns of a kind that has none here.
constexpr std::string_view kind_text(SymbolKind kind) {
  switch (kind) {
    case SymbolKind::class_:
      return "class";
    case SymbolKind::function:
      return "function";
    case SymbolKind::method:
      return "method";
    case SymbolKind::interface:
      return "interface";
    case SymbolKind::type:
      return "type";
    case SymbolKind::enum_:
      return "enum";
    case SymbolKind::variable:
      return "variable";
    case SymbolKind::module:
      return "module";
    case SymbolKind::constant:
      return "constant";
  }
  return {};
}

inline constexpr std::size_t SYMBOL_KIND_COUNT = [] {
  std::size_t count = 0;
  while (!kind_text(static_cast<SymbolKind>(count)).empty()) ++count;
  return count;
}();

// The texts of all kinds, in the order of the enumeration.
inline constexpr auto SYMBOL_KIND_TEXTS = [] {
  std::array<std::string_view, SYMBOL_KIND_COUNT> texts;
  for (std::size_t i = 0; i < texts.size(); ++i) texts[i] = kind_text(static_cast<SymbolKind>(i));
  return texts;
}();

// The kind whose text this is, or none. Case counts.
std::optional<SymbolKind> kind_from_text(std::string_view text);

// The arguments of a Symbol. No field has a default, so all have to be named.
struct SymbolArguments {
  std::optional<std::int64_t> id;          // the store's key; none until a store gives one
  std::int64_t file_id;                    // the store's key of the file
  std::string name;                        // UTF-8; may be empty
  std::string_view kind;                   // one of SYMBOL_KIND_TEXTS
  std::string fqn;                         // dotted; may hold path bytes that are no UTF-8
  std::uint32_t start_line;                // 1-based
  std::uint32_t end_line;                  // 1-based, the line of the last byte's end
  std::optional<std::string> signature;    // UTF-8, at most 200 code points
  bool is_export;                          // visible outside its file
  std::optional<std::string> docstring;    // UTF-8, at most 500 code points, never empty
  std::optional<std::string> body_digest;  // UTF-8, at most 800 code points, never empty
};

// One declaration of a source file. The fields are those of SymbolArguments, with the kind as a
// member of the enumeration.
struct Symbol {
  // Throws std::invalid_argument, whose text names the fault, for a kind that is not in
  // SYMBOL_KIND_TEXTS, a `start_line` of 0 and an `end_line` before it. Texts are not checked: they
  // may be empty or hold U+0000.
  explicit Symbol(SymbolArguments&& arguments);

  std::optional<std::int64_t> id;
  std::int64_t file_id;
  std::string name;
  SymbolKind kind;
  std::string fqn;
  std::uint32_t start_line;
  std::uint32_t end_line;
  std::optional<std::string> signature;
  bool is_export;
  std::optional<std::string> docstring;
  std::optional<std::string> body_digest;

  bool operator==(const Symbol&) const = default;
};

}  // namespace engines::models
