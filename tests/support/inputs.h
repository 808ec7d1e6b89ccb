// The sources in the project, for tests of what must hold for any source.
#pragma once

#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "engines/languages/languages.h"

namespace engines::treesitter {

struct Input {
  std::string name;
  std::string language;
  std::string bytes;
};

// The golden inputs and the examples that have a language.
inline const std::vector<Input>& inputs() {
  namespace fs = std::filesystem;
  static const std::vector<Input> found = [] {
    std::vector<Input> all;
    for (const fs::path folder : {TESTS_DIR "/golden", TESTS_DIR "/../examples"}) {
      for (const auto& entry : fs::recursive_directory_iterator(folder)) {
        const auto language = languages::detect_language(entry.path());
        if (!entry.is_regular_file() || !language) continue;
        std::ifstream file(entry.path(), std::ios::binary);
        all.push_back({fs::relative(entry.path(), folder),
                       std::string(*language),
                       {std::istreambuf_iterator<char>(file), {}}});
      }
    }
    return all;
  }();
  return found;
}

// The bytes with one random fault, such as files have while somebody edits them.
inline std::string broken(std::string bytes, std::mt19937& random) {
  if (bytes.empty()) return bytes;
  const auto place = [&] { return random() % bytes.size(); };
  constexpr std::string_view DEBRIS[] = {"\xFF", {"\0", 1}, "(", "}", "\"",      "\n",
                                         "é",    "<",       ":", "`", "\xE2\x80"};
  switch (random() % 4) {
    case 0:
      return bytes.substr(0, place());
    case 1:
      return bytes.substr(place());
    case 2:
      return bytes.erase(place(), 1 + random() % 20);
    default:
      return bytes.insert(place(), DEBRIS[random() % std::size(DEBRIS)]);
  }
}

inline std::string repeated(std::string_view text, std::size_t count) {
  std::string all;
  for (std::size_t i = 0; i < count; ++i) all += text;
  return all;
}

}  // namespace engines::treesitter
