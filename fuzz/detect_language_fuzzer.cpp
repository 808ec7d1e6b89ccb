// Any path through detect_language: only the last component counts, and suffixes ignore ASCII case.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>

#include "engines/languages/languages.h"
#include "fuzz/properties.h"

namespace {

using namespace engines;

std::string in_other_case(std::string text) {
  for (char& byte : text) {
    if (byte >= 'a' && byte <= 'z') {
      byte = static_cast<char>(byte - 'a' + 'A');
    } else if (byte >= 'A' && byte <= 'Z') {
      byte = static_cast<char>(byte - 'A' + 'a');
    }
  }
  return text;
}

bool is_exact_name(std::string_view name) {
  const auto infos = languages::language_infos();
  return std::any_of(infos.begin(), infos.end(), [&](const languages::LanguageInfo& info) {
    return std::find(info.file_names.begin(), info.file_names.end(), name) != info.file_names.end();
  });
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using treesitter::fuzz::require;
  const std::string path(reinterpret_cast<const char*>(data), size);
  const auto language = languages::detect_language(path);
  const auto names = languages::language_names();
  require(!language || std::find(names.begin(), names.end(), *language) != names.end(),
          "a detected language is one of the sixteen");

  const std::string last = path.substr(path.rfind('/') + 1);
  require(languages::detect_language("some/folder.py/" + last) == language,
          "only the last component counts");
  const std::string other = in_other_case(last);
  if (!is_exact_name(last) && !is_exact_name(other)) {
    require(languages::detect_language(other) == language, "a suffix has no case");
  }
  return 0;
}
