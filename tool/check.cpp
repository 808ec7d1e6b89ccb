// See commands.h.
#include "tool/check.h"

#include <variant>

#include "tool/commands.h"
#include "tool/descriptors.h"
#include "tool/interrupts.h"
#include "tool/messages.h"
#include "tool/record.h"

namespace tool {
namespace {

using engines::treesitter::ParsedItem;
using engines::treesitter::ParseItem;
using engines::treesitter::ParseReport;
using engines::treesitter::ParseResult;
using engines::treesitter::Raised;
using engines::treesitter::TreeSitterEngine;

void count_entries(const ParseResult& result, Checked& checked) {
  for (const auto& symbol : result.symbols) {
    ++checked.symbols[engines::models::kind_text(symbol.kind)];
  }
  for (const auto& reference : result.references) ++checked.references[reference.kind];
}

Checked examine(const Arguments& arguments) {
  Checked checked;
  checked.path = arguments.paths.front();
  checked.rules = arguments.rules;
  if (arguments.language) {
    checked.language = *arguments.language;
  } else {
    checked.detected = engines::languages::explain_detection(checked.path);
    if (checked.detected) checked.language = checked.detected->language;
  }
  const TreeSitterEngine engine(arguments.rules);
  ParseItem item{.path = checked.path, .language = arguments.language};
  auto outcome = engine.explain(item, checked.report);
  const ParsedItem parsed{std::move(item), std::move(outcome)};
  checked.errors = error_texts(parsed);
  if (const auto* const result = std::get_if<ParseResult>(&parsed.outcome)) {
    checked.content_hash = result->content_hash;
    count_entries(*result, checked);
  } else if (const auto* const raised = std::get_if<Raised>(&parsed.outcome)) {
    checked.content_hash = raised->content_hash;
  }
  return checked;
}

}  // namespace

std::array<std::pair<std::string_view, std::optional<ParseReport::Duration>>, 5> steps_of(
    const ParseReport& report) {
  return {{{"read", report.read},
           {"hash", report.hash},
           {"parse", report.parse},
           {"symbols", report.symbols},
           {"references", report.references}}};
}

int run_check(const Arguments& arguments) {
  const Checked checked = examine(arguments);
  std::string text;
  StringSink sink(text);
  (arguments.format == Format::json ? write_check_json : write_check_text)(sink, checked);
  const int status = checked.errors.empty() ? EXIT_ALL_PARSED : EXIT_SOME_FAILED;
  const WholeRecord whole;
  write_output(text, status);
  return status;
}

}  // namespace tool
