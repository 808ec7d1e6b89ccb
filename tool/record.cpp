// See record.h.
#include "tool/record.h"

#include <optional>
#include <variant>

#include "engines/languages/languages.h"
#include "index/file_rules.h"

namespace tool {
namespace {

using engines::treesitter::Declined;
using engines::treesitter::NoLanguage;
using engines::treesitter::ParsedItem;
using engines::treesitter::ParseResult;
using engines::treesitter::Raised;

// The bytes of field names and punctuation in JSON, the longest of the formats.
constexpr std::size_t SYMBOL_FRAME = 200;
constexpr std::size_t REFERENCE_FRAME = 48;
constexpr std::size_t RECORD_FRAME = 200;

struct ErrorTexts {
  const ParsedItem& parsed;

  std::vector<std::string> operator()(const ParseResult& result) const { return result.errors; }
  std::vector<std::string> operator()(const NoLanguage& outcome) const {
    if (outcome.error.empty()) return {};
    return {outcome.error};
  }
  std::vector<std::string> operator()(const Declined& outcome) const {
    // A binary file is left out on purpose.
    if (outcome.reason == Declined::Reason::binary) return {};
    return {repository::too_large_text(outcome.size, parsed.item.max_size)};
  }
  std::vector<std::string> operator()(const Raised& outcome) const { return {outcome.text}; }
};

std::size_t size_of(const std::optional<std::string>& text) { return text ? text->size() : 0; }

std::size_t result_size(const ParseResult& result) {
  std::size_t size = 0;
  for (const auto& symbol : result.symbols) {
    size += SYMBOL_FRAME + symbol.name.size() + symbol.fqn.size() + size_of(symbol.signature) +
            size_of(symbol.docstring) + size_of(symbol.body_digest);
  }
  for (const auto& reference : result.references) size += REFERENCE_FRAME + reference.name.size();
  for (const auto& error : result.errors) size += error.size();
  return size;
}

}  // namespace

std::vector<std::string> error_texts(const ParsedItem& parsed) {
  return std::visit(ErrorTexts{parsed}, parsed.outcome);
}

ParseResult without_entries(const ParsedItem& parsed) {
  ParseResult result{};
  if (parsed.item.language) {
    result.language = *parsed.item.language;
  } else {
    result.language = engines::languages::detect_language(parsed.item.path).value_or("");
  }
  result.errors = error_texts(parsed);
  return result;
}

std::size_t output_size_bound(const ParsedItem& parsed) {
  const auto* const result = std::get_if<ParseResult>(&parsed.outcome);
  return RECORD_FRAME + 2 * parsed.item.path.size() +
         (result != nullptr ? result_size(*result) : 0);
}

}  // namespace tool
