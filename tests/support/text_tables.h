// The table that scripts/make_text_tables writes: what Python says of texts.
#pragma once

#include <fstream>
#include <nlohmann/json.hpp>

namespace engines::treesitter {

inline const nlohmann::json& text_tables() {
  static const auto tables =
      nlohmann::json::parse(std::ifstream(TESTS_DIR "/data/text_tables.json"));
  return tables;
}

}  // namespace engines::treesitter
