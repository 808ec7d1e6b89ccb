// What the symbol model accepts. A walk goes on without a rejected symbol and keeps the error's
// text, so the text says which field is at fault and why.
//
// Tested by tests/models_test.cpp.
#include "models/symbol.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

namespace engines::models {
namespace {

SymbolKind require_kind(std::string_view text) {
  if (const auto kind = kind_from_text(text)) return *kind;
  throw std::invalid_argument("unknown symbol kind '" + std::string(text) + "'");
}

}  // namespace

std::optional<SymbolKind> kind_from_text(std::string_view text) {
  const auto found = std::find(SYMBOL_KIND_TEXTS.begin(), SYMBOL_KIND_TEXTS.end(), text);
  if (found == SYMBOL_KIND_TEXTS.end()) return std::nullopt;
  return static_cast<SymbolKind>(found - SYMBOL_KIND_TEXTS.begin());
}

Symbol::Symbol(SymbolArguments&& arguments)
    : id(arguments.id),
      file_id(arguments.file_id),
      name(std::move(arguments.name)),
      kind(require_kind(arguments.kind)),
      fqn(std::move(arguments.fqn)),
      start_line(arguments.start_line),
      end_line(arguments.end_line),
      signature(std::move(arguments.signature)),
      is_export(arguments.is_export),
      docstring(std::move(arguments.docstring)),
      body_digest(std::move(arguments.body_digest)) {
  if (start_line < 1) throw std::invalid_argument("start_line is less than 1");
  if (end_line < start_line) throw std::invalid_argument("end_line is less than start_line");
}

}  // namespace engines::models
