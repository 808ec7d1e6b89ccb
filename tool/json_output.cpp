// See json_output.h. Each entry is a small document of its own, so that the memory of a file's
// output is its text; fields stand in the order in which the records declare them.
#include "tool/json_output.h"

#include <nlohmann/json.hpp>
#include <optional>
#include <variant>
#include <vector>

#include "engines/treesitter/core/text.h"

namespace tool {
namespace {

using engines::models::Symbol;
using engines::treesitter::ParseResult;
using engines::treesitter::ReferenceInfo;
using nlohmann::ordered_json;

// The library would replace ill-formed bytes too, but by another count of U+FFFD than the engine.
ordered_json text(std::string_view bytes) { return engines::treesitter::decode_replacing(bytes); }

ordered_json optional_text(const std::optional<std::string>& bytes) {
  return bytes ? text(*bytes) : ordered_json(nullptr);
}

std::string hexadecimal(std::string_view bytes) {
  constexpr std::string_view DIGITS = "0123456789abcdef";
  std::string digits;
  for (const char character : bytes) {
    const auto byte = static_cast<unsigned char>(character);
    digits += DIGITS[byte >> 4];
    digits += DIGITS[byte & 0xF];
  }
  return digits;
}

ordered_json json_of(const Symbol& symbol) {
  return {
      {"id", symbol.id ? ordered_json(*symbol.id) : ordered_json(nullptr)},
      {"file_id", symbol.file_id},
      {"name", text(symbol.name)},
      {"kind", engines::models::kind_text(symbol.kind)},
      {"fqn", text(symbol.fqn)},
      {"start_line", symbol.start_line},
      {"end_line", symbol.end_line},
      {"signature", optional_text(symbol.signature)},
      {"is_export", symbol.is_export},
      {"docstring", optional_text(symbol.docstring)},
      {"body_digest", optional_text(symbol.body_digest)},
  };
}

ordered_json json_of(const ReferenceInfo& reference) {
  return {{"name", text(reference.name)}, {"line", reference.line}, {"kind", reference.kind}};
}

ordered_json json_of(const std::string& error) { return text(error); }

void append_field(std::string& out, std::string_view name, const ordered_json& value) {
  out.append(out.back() == '{' ? "\"" : ",\"").append(name).append("\":").append(value.dump());
}

template <typename Item>
void append_list(std::string& out, std::string_view name, const std::vector<Item>& items) {
  out.append(",\"").append(name).append("\":[");
  for (const Item& item : items) {
    if (&item != items.data()) out += ',';
    out += json_of(item).dump();
  }
  out += ']';
}

// What follows the path in each of the shapes.
struct AppendOutcome {
  std::string& out;

  void operator()(const ParseResult& result) const {
    append_field(out, "language", text(result.language));
    append_field(out, "content_hash", result.content_hash);
    append_list(out, "symbols", result.symbols);
    append_list(out, "references", result.references);
    append_list(out, "errors", result.errors);
  }

  void operator()(const UnknownLanguage&) const { append_field(out, "language", nullptr); }

  void operator()(const Unreadable& outcome) const {
    append_field(out, "language", optional_text(outcome.language));
    append_field(out, "content_hash", "");
    append_field(out, "symbols", ordered_json::array());
    append_field(out, "references", ordered_json::array());
    append_field(out, "errors", ordered_json::array({text(outcome.error)}));
  }

  void operator()(const Raised& outcome) const { append_field(out, "raised", text(outcome.error)); }
};

}  // namespace

void append_json(std::string& out, const Record& record) {
  out += '{';
  append_field(out, "path", text(record.path));
  const bool is_text = engines::treesitter::find_ill_formed(record.path).size == 0;
  if (!is_text) append_field(out, "path_bytes", hexadecimal(record.path));
  std::visit(AppendOutcome{out}, record.outcome);
  out += "}\n";
}

}  // namespace tool
