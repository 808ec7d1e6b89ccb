// Parses small sources in tests. All use one engine, so that a parse that leaves something behind
// changes the next result.
#pragma once

#include <string>
#include <string_view>

#include "engines/languages/languages.h"
#include "engines/treesitter/treesitter.h"
#include "tests/support/temporary_folder.h"

namespace engines::treesitter {

inline const TreeSitterEngine& shared_engine() {
  static const TreeSitterEngine engine;
  return engine;
}

// "input" with the language's first suffix, so that each FQN begins with "input.". For an unknown
// language "input".
inline std::string input_path(std::string_view language) {
  for (const languages::LanguageInfo& info : languages::language_infos()) {
    if (info.name == language) return "input" + std::string(info.suffixes.front());
  }
  return "input";
}

inline ParseResult parse(std::string_view source, std::string_view language) {
  return shared_engine().parse_content(source, language, input_path(language));
}

// Parses the bytes, which need not be UTF-8, as a temporary file.
inline ParseResult parse_as_file(std::string_view bytes, std::string_view language) {
  const TemporaryFolder folder;
  return shared_engine().parse_file(folder.file(input_path(language), bytes)).value();
}

}  // namespace engines::treesitter
