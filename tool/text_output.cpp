// See text_output.h.
#include "tool/text_output.h"

#include <optional>
#include <string_view>
#include <variant>

#include "engines/treesitter/text/text.h"
#include "tool/escape.h"
#include "tool/record.h"

namespace tool {
namespace {

using engines::models::Symbol;
using engines::treesitter::Declined;
using engines::treesitter::NoLanguage;
using engines::treesitter::ParsedItem;
using engines::treesitter::ParseResult;
using engines::treesitter::Raised;
using engines::treesitter::ReferenceInfo;

// In code points. Fixed, and not as wide as the longest entry, so that an entry changes no other
// line.
constexpr std::size_t KIND_WIDTH = 10;
constexpr std::size_t FQN_WIDTH = 40;
constexpr std::size_t LABEL_WIDTH = 6;

void pad(OutputBuffer& out, std::string_view text, std::size_t width) {
  for (std::size_t i = engines::treesitter::length(text, width); i < width; ++i) out.write(' ');
}

void write_field_line(OutputBuffer& out, std::string_view label, std::string_view line) {
  out.write("  ");
  out.write(label);
  if (!line.empty()) {
    pad(out, label, LABEL_WIDTH);
    write_escaped(out, line);
  }
  out.write('\n');
}

void write_field(OutputBuffer& out, std::string_view label, std::string_view text) {
  for (const auto line : engines::treesitter::split(text, '\n')) {
    write_field_line(out, label, line);
    label = "|";
  }
}

void write_optional(OutputBuffer& out, std::string_view label,
                    const std::optional<std::string>& text) {
  if (text) write_field(out, label, *text);
}

void write_number(OutputBuffer& out, std::string_view label, std::int64_t number) {
  write_field_line(out, label, std::to_string(number));
}

void write_padded(OutputBuffer& out, std::string_view text, std::size_t width) {
  constexpr std::size_t WIDEST = 4;  // bytes of a character; escapes make no text shorter
  if (text.size() >= width * WIDEST) {
    write_escaped(out, text);
    return;
  }
  const std::string shown = escaped(text);
  out.write(shown);
  pad(out, shown, width);
}

std::string_view after_last_stop(std::string_view text) {
  const std::size_t stop = text.rfind('.');
  return stop == std::string_view::npos ? text : text.substr(stop + 1);
}

void write_symbol(OutputBuffer& out, const Symbol& symbol) {
  const auto kind = engines::models::kind_text(symbol.kind);
  out.write(kind);
  pad(out, kind, KIND_WIDTH);
  write_padded(out, symbol.fqn, FQN_WIDTH);
  out.write("  ");
  out.write_number(symbol.start_line);
  out.write('-');
  out.write_number(symbol.end_line);
  out.write(symbol.is_export ? "  export\n" : "\n");
  if (symbol.id) write_number(out, "id", *symbol.id);
  if (symbol.file_id != 0) write_number(out, "file", symbol.file_id);
  if (symbol.name != after_last_stop(symbol.fqn)) write_field_line(out, "name", symbol.name);
  write_optional(out, "sig", symbol.signature);
  write_optional(out, "doc", symbol.docstring);
  write_optional(out, "body", symbol.body_digest);
}

void write_reference(OutputBuffer& out, const ReferenceInfo& reference) {
  out.write("ref ");
  write_escaped(out, reference.kind);
  out.write(' ');
  out.write_number(reference.line);
  out.write(' ');
  write_escaped(out, reference.name);
  out.write('\n');
}

void write_line(OutputBuffer& out, std::string_view label, std::string_view text) {
  out.write(label);
  out.write(' ');
  write_escaped(out, text);
  out.write('\n');
}

void write_entries(OutputBuffer& out, const ParseResult& result) {
  for (const auto& symbol : result.symbols) write_symbol(out, symbol);
  for (const auto& reference : result.references) write_reference(out, reference);
  for (const auto& error : result.errors) write_line(out, "error", error);
}

// Writes what follows the path, for each outcome.
struct WriteOutcome {
  OutputBuffer& out;
  const ParsedItem& parsed;

  void operator()(const ParseResult& result) const {
    if (!result.language.empty()) {
      out.write("  ");
      write_escaped(out, result.language);
    }
    out.write('\n');
    if (!result.content_hash.empty()) write_field_line(out, "hash", result.content_hash);
    write_entries(out, result);
  }

  void operator()(const NoLanguage& outcome) const {
    if (outcome.error.empty()) {
      out.write("  (unknown language)\n");
    } else {
      (*this)(without_entries(parsed));
    }
  }

  void operator()(const Declined&) const { (*this)(without_entries(parsed)); }

  void operator()(const Raised& outcome) const {
    out.write('\n');
    write_line(out, "raised", outcome.text);
  }
};

}  // namespace

void write_text_entries(ByteSink& sink, const ParseResult& result) {
  OutputBuffer out(sink);
  write_entries(out, result);
  out.flush();
}

void write_text(ByteSink& sink, const ParsedItem& parsed) {
  OutputBuffer out(sink);
  out.write("file ");
  write_escaped(out, parsed.item.path);
  std::visit(WriteOutcome{out, parsed}, parsed.outcome);
  out.write('\n');
  out.flush();
}

}  // namespace tool
