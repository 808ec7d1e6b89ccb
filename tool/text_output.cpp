// See text_output.h.
#include "tool/text_output.h"

#include <optional>
#include <string_view>
#include <variant>

#include "engines/treesitter/core/text.h"
#include "tool/escape.h"

namespace tool {
namespace {

using engines::models::Symbol;
using engines::treesitter::ParseResult;
using engines::treesitter::ReferenceInfo;

// Widths are fixed and not those of the longest entry: a new entry then changes no other line.
constexpr std::size_t KIND_WIDTH = 10;
constexpr std::size_t FQN_WIDTH = 40;
constexpr std::size_t LABEL_WIDTH = 6;

void pad(std::string& out, std::string_view text, std::size_t width) {
  const std::size_t length = engines::treesitter::length(text, width);
  out.append(width - length, ' ');
}

void append_field_line(std::string& out, std::string_view label, std::string_view line) {
  out += "  ";
  out += label;
  if (!line.empty()) {
    pad(out, label, LABEL_WIDTH);
    append_escaped(out, line);
  }
  out += '\n';
}

void append_field(std::string& out, std::string_view label, std::string_view text) {
  for (const auto line : engines::treesitter::split(text, '\n')) {
    append_field_line(out, label, line);
    label = "|";
  }
}

void append_optional(std::string& out, std::string_view label,
                     const std::optional<std::string>& text) {
  if (text) append_field(out, label, *text);
}

std::string_view after_last_stop(std::string_view text) {
  const std::size_t stop = text.rfind('.');
  return stop == std::string_view::npos ? text : text.substr(stop + 1);
}

void append_symbol(std::string& out, const Symbol& symbol) {
  const auto kind = engines::models::kind_text(symbol.kind);
  out += kind;
  pad(out, kind, KIND_WIDTH);
  const std::string fqn = escaped(symbol.fqn);
  out += fqn;
  pad(out, fqn, FQN_WIDTH);
  out += "  " + std::to_string(symbol.start_line) + '-' + std::to_string(symbol.end_line);
  out += symbol.is_export ? "  export\n" : "\n";
  if (symbol.id) append_field(out, "id", std::to_string(*symbol.id));
  if (symbol.file_id != 0) append_field(out, "file", std::to_string(symbol.file_id));
  if (symbol.name != after_last_stop(symbol.fqn)) append_field_line(out, "name", symbol.name);
  append_optional(out, "sig", symbol.signature);
  append_optional(out, "doc", symbol.docstring);
  append_optional(out, "body", symbol.body_digest);
}

void append_reference(std::string& out, const ReferenceInfo& reference) {
  out += "ref ";
  append_escaped(out, reference.kind);
  out += ' ' + std::to_string(reference.line) + ' ';
  append_escaped(out, reference.name);
  out += '\n';
}

void append_line(std::string& out, std::string_view label, std::string_view text) {
  out += label;
  out += ' ';
  append_escaped(out, text);
  out += '\n';
}

// What follows the path in each outcome.
struct AppendOutcome {
  std::string& out;

  void operator()(const ParseResult& result) const {
    out += "  ";
    append_escaped(out, result.language);
    out += '\n';
    if (!result.content_hash.empty()) append_field(out, "hash", result.content_hash);
    append_text_entries(out, result);
  }

  void operator()(const UnknownLanguage&) const { out += "  (unknown language)\n"; }

  void operator()(const Unreadable& outcome) const {
    if (outcome.language) {
      out += "  ";
      append_escaped(out, *outcome.language);
    }
    out += '\n';
    append_line(out, "error", outcome.error);
  }

  void operator()(const Raised& outcome) const {
    out += '\n';
    append_line(out, "raised", outcome.error);
  }
};

}  // namespace

void append_text_entries(std::string& out, const ParseResult& result) {
  for (const auto& symbol : result.symbols) append_symbol(out, symbol);
  for (const auto& reference : result.references) append_reference(out, reference);
  for (const auto& error : result.errors) append_line(out, "error", error);
}

void append_text(std::string& out, const Record& record) {
  out += "file ";
  append_escaped(out, record.path);
  std::visit(AppendOutcome{out}, record.outcome);
  out += '\n';
}

}  // namespace tool
