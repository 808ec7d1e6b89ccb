// See shield.h.
#include "tool/shield.h"

#include <string_view>
#include <utility>

namespace tool {
namespace {

// The one option whose value may begin with any character and stand in the same argument.
constexpr std::string_view EXCLUDE_IS = "--exclude=";

bool needs_shield(std::string_view argument) {
  return !argument.empty() && std::string_view("[{+%").find(argument[0]) != std::string_view::npos;
}

}  // namespace

std::vector<std::string> shielded(int count, const char* const* arguments) {
  std::vector<std::string> result;
  bool is_path = false;
  for (int i = 1; i < count; ++i) {
    std::string argument = arguments[i];
    if (!is_path && argument == "--") {
      is_path = true;
      continue;
    }
    if (is_path || needs_shield(argument)) {
      argument.insert(argument.begin(), SHIELD);
    } else if (argument.starts_with(EXCLUDE_IS)) {
      argument.insert(EXCLUDE_IS.size(), 1, SHIELD);
    }
    result.push_back(std::move(argument));
  }
  return result;
}

void unshield(std::string& argument) {
  if (argument.starts_with(SHIELD)) argument.erase(0, 1);
}

}  // namespace tool
