// The table of scripts/make_text_tables: what Python says about texts.
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
