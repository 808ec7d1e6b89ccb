// See language_option.h.
#include "tool/language_option.h"

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include "engines/languages/languages.h"
#include "tool/arguments.h"
#include "tool/escape.h"
#include "tool/suggestion.h"

namespace tool {
namespace {

// What is neither a name nor a suffix.
constexpr std::pair<std::string_view, std::string_view> ALIASES[] = {
    {"c#", "csharp"},       {"c-sharp", "csharp"}, {"ecmascript", "javascript"}, {"golang", "go"},
    {"node", "javascript"}, {"python3", "python"}, {"typescriptreact", "tsx"},
};

std::vector<std::string> names() {
  const auto all = engines::languages::language_names();
  return {all.begin(), all.end()};
}

}  // namespace

std::string language_meant(std::string_view text) {
  const std::string word = lower_case(text);
  const std::string suffix = word.starts_with('.') ? word : '.' + word;
  for (const auto& language : engines::languages::language_infos()) {
    const auto& suffixes = language.suffixes;
    if (word == language.name ||
        std::find(suffixes.begin(), suffixes.end(), suffix) != suffixes.end()) {
      return std::string(language.name);
    }
  }
  for (const auto& [alias, name] : ALIASES) {
    if (word == alias) return std::string(name);
  }
  const std::string meant = suggestion(word, names());
  throw UsageError("unknown language '" + escaped(text) + "'" +
                   (meant.empty() ? "; `treesitter-engine languages` lists them" : meant));
}

}  // namespace tool
