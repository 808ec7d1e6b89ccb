// See make_record.h.
#include "tool/make_record.h"

#include <utility>

#include "tool/descriptors.h"

namespace tool {
namespace {

using engines::treesitter::FileReadError;
using engines::treesitter::ParsedItem;
using engines::treesitter::ParseItem;
using engines::treesitter::TreeSitterEngine;

void take_standard_input(ParseItem& item) {
  item.is_text = true;
  item.content.emplace();
  if (const int error = read_standard_input(*item.content); error != 0) {
    item.failure = std::string("Failed to read file: ") + FileReadError(error, item.path).what();
  }
}

}  // namespace

ParsedItem make_record(const TreeSitterEngine& engine, Job job,
                       const std::optional<std::string>& language) {
  ParseItem item{.path = std::move(job.path), .failure = std::move(job.error)};
  if (job.origin != Origin::found) item.language = language;
  if (job.origin == Origin::standard_input) take_standard_input(item);
  auto outcome = engine.parse(item);
  item.content.reset();
  return {std::move(item), std::move(outcome)};
}

}  // namespace tool
