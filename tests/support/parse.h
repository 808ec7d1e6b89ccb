// Parsing small sources in tests: one engine for all of them, so that what a parse leaves behind
// would show in the next one.
#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>
#include <string_view>

#include "engines/languages/languages.h"
#include "engines/treesitter/treesitter.h"

namespace engines::treesitter {

inline const TreeSitterEngine& shared_engine() {
  static const TreeSitterEngine engine;
  return engine;
}

// "input" with the language's first suffix, so that every FQN begins with "input."; "input" alone
// for a name that is no language of ours.
inline std::string input_path(std::string_view language) {
  for (const languages::LanguageInfo& info : languages::language_infos()) {
    if (info.name == language) return "input" + std::string(info.suffixes.front());
  }
  return "input";
}

inline ParseResult parse(std::string_view source, std::string_view language) {
  return shared_engine().parse_content(source, language, input_path(language));
}

// The bytes, which need not be UTF-8, as a file in a folder of their own that is removed again.
inline ParseResult parse_as_file(std::string_view bytes, std::string_view language) {
  struct Folder {
    std::filesystem::path path = std::filesystem::temp_directory_path() / "engine_tests_XXXXXX";
    Folder() {
      std::string name = path.native();
      if (mkdtemp(name.data()) == nullptr) throw std::runtime_error("cannot make " + name);
      path = name;
    }
    ~Folder() { std::filesystem::remove_all(path); }
  };
  const Folder folder;
  const std::filesystem::path path = folder.path / input_path(language);
  std::ofstream(path, std::ios::binary) << bytes;
  return shared_engine().parse_file(path).value();
}

}  // namespace engines::treesitter
