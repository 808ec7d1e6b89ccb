// See json_output.h. Fields are written in the order in which the records declare them.
#include "tool/json_output.h"

#include <array>
#include <charconv>
#include <concepts>
#include <cstdint>
#include <optional>
#include <variant>
#include <vector>

#include "engines/treesitter/core/text.h"

namespace tool {
namespace {

using engines::models::Symbol;
using engines::treesitter::ParseResult;
using engines::treesitter::ReferenceInfo;

constexpr std::string_view HEXADECIMAL = "0123456789abcdef";

void append_integer(std::string& out, std::integral auto value) {
  std::array<char, 24> digits;
  const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), value).ptr;
  out.append(digits.data(), end);
}

void append_escape(std::string& out, char32_t value) {
  switch (value) {
    case U'"':
      out += "\\\"";
      return;
    case U'\\':
      out += "\\\\";
      return;
    case U'\n':
      out += "\\n";
      return;
    case U'\r':
      out += "\\r";
      return;
    case U'\t':
      out += "\\t";
      return;
    default:
      break;
  }
  out += "\\u";
  for (int shift = 12; shift >= 0; shift -= 4) out += HEXADECIMAL[(value >> shift) & 0xF];
}

// What must not stand in a string as it is. Everything here has at most four hexadecimal digits.
bool is_escaped(char32_t value) {
  return value < 0x20 || value == U'"' || value == U'\\' || (value >= 0x7F && value <= 0x9F) ||
         value == 0x2028 || value == 0x2029;
}

// Most texts are printable ASCII; this finds the end of such a run.
std::size_t plain_run_end(std::string_view text, std::size_t offset) {
  while (offset < text.size()) {
    const auto byte = static_cast<unsigned char>(text[offset]);
    if (byte < 0x20 || byte >= 0x7F || byte == '"' || byte == '\\') break;
    ++offset;
  }
  return offset;
}

void append_quoted_text(std::string& out, std::string_view text) {
  out += '"';
  std::size_t offset = 0;
  while (offset < text.size()) {
    const std::size_t end = plain_run_end(text, offset);
    out.append(text, offset, end - offset);
    offset = end;
    if (offset == text.size()) break;
    const auto [value, size] = engines::treesitter::code_point_at(text, offset);
    if (is_escaped(value)) {
      append_escape(out, value);
    } else {
      out.append(text, offset, size);
    }
    offset += size;
  }
  out += '"';
}

bool is_utf8(std::string_view bytes) {
  return engines::treesitter::find_ill_formed(bytes).size == 0;
}

void append_optional(std::string& out, const std::optional<std::string>& text) {
  if (text) {
    append_json_string(out, *text);
  } else {
    out += "null";
  }
}

void append_path(std::string& out, std::string_view path) {
  out += "{\"path\":";
  append_json_string(out, path);
  if (is_utf8(path)) return;
  out += ",\"path_bytes\":\"";
  for (const char character : path) {
    const auto byte = static_cast<unsigned char>(character);
    out += HEXADECIMAL[byte >> 4];
    out += HEXADECIMAL[byte & 0xF];
  }
  out += '"';
}

void append_symbol(std::string& out, const Symbol& symbol) {
  out += "{\"id\":";
  if (symbol.id) {
    append_integer(out, *symbol.id);
  } else {
    out += "null";
  }
  out += ",\"file_id\":";
  append_integer(out, symbol.file_id);
  out += ",\"name\":";
  append_json_string(out, symbol.name);
  out += ",\"kind\":";
  append_json_string(out, engines::models::kind_text(symbol.kind));
  out += ",\"fqn\":";
  append_json_string(out, symbol.fqn);
  out += ",\"start_line\":";
  append_integer(out, symbol.start_line);
  out += ",\"end_line\":";
  append_integer(out, symbol.end_line);
  out += ",\"signature\":";
  append_optional(out, symbol.signature);
  out += symbol.is_export ? ",\"is_export\":true" : ",\"is_export\":false";
  out += ",\"docstring\":";
  append_optional(out, symbol.docstring);
  out += ",\"body_digest\":";
  append_optional(out, symbol.body_digest);
  out += '}';
}

void append_reference(std::string& out, const ReferenceInfo& reference) {
  out += "{\"name\":";
  append_json_string(out, reference.name);
  out += ",\"line\":";
  append_integer(out, reference.line);
  out += ",\"kind\":";
  append_json_string(out, reference.kind);
  out += '}';
}

template <typename Item>
void append_list(std::string& out, const std::vector<Item>& items,
                 void (*append_item)(std::string&, const Item&)) {
  out += '[';
  for (std::size_t i = 0; i < items.size(); ++i) {
    if (i > 0) out += ',';
    append_item(out, items[i]);
  }
  out += ']';
}

void append_text(std::string& out, const std::string& text) { append_json_string(out, text); }

// What follows the path in each of the shapes.
struct AppendOutcome {
  std::string& out;

  void operator()(const ParseResult& result) const {
    out += ",\"language\":";
    append_json_string(out, result.language);
    out += ",\"content_hash\":";
    append_json_string(out, result.content_hash);
    out += ",\"symbols\":";
    append_list(out, result.symbols, append_symbol);
    out += ",\"references\":";
    append_list(out, result.references, append_reference);
    out += ",\"errors\":";
    append_list(out, result.errors, append_text);
  }

  void operator()(const UnknownLanguage&) const { out += ",\"language\":null"; }

  void operator()(const Unreadable& outcome) const {
    out += ",\"language\":";
    append_optional(out, outcome.language);
    out += ",\"content_hash\":\"\",\"symbols\":[],\"references\":[],\"errors\":[";
    append_json_string(out, outcome.error);
    out += ']';
  }

  void operator()(const Raised& outcome) const {
    out += ",\"raised\":";
    append_json_string(out, outcome.error);
  }
};

}  // namespace

void append_json_string(std::string& out, std::string_view bytes) {
  if (is_utf8(bytes)) {
    append_quoted_text(out, bytes);
  } else {
    append_quoted_text(out, engines::treesitter::decode_replacing(bytes));
  }
}

void append_json(std::string& out, const Record& record) {
  append_path(out, record.path);
  std::visit(AppendOutcome{out}, record.outcome);
  out += "}\n";
}

}  // namespace tool
