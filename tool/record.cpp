// See record.h.
#include "tool/record.h"

namespace tool {
namespace {

using engines::treesitter::ParseResult;

struct ErrorTexts {
  std::vector<std::string> operator()(const ParseResult& result) const { return result.errors; }
  std::vector<std::string> operator()(const UnknownLanguage&) const { return {}; }
  std::vector<std::string> operator()(const Unreadable& outcome) const { return {outcome.error}; }
  std::vector<std::string> operator()(const Raised& outcome) const { return {outcome.error}; }
};

}  // namespace

std::vector<std::string> error_texts(const Record& record) {
  return std::visit(ErrorTexts{}, record.outcome);
}

bool has_failed(const Record& record) { return !error_texts(record).empty(); }

}  // namespace tool
