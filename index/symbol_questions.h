// The questions that symbols answer: by name, by words, by file.
//
// Tested by tests/questions_test.py.
#pragma once

#include <SQLiteCpp/SQLiteCpp.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "index/name_search.h"
#include "index/questions.h"
#include "index/reader.h"
#include "index/row_filter.h"

namespace repository {

class SymbolQuestions {
 public:
  explicit SymbolQuestions(Reader& reader);

  Answer<Definition> find(const FindQuestion& question);
  Answer<Definition> search(const std::string& words, const Filter& filter);
  std::optional<Answer<Definition>> outline(const std::string& path);

 private:
  struct Ranked {
    unsigned quality;
    bool is_test;
    bool is_export;
    std::int64_t id;
  };

  void add(std::int64_t symbol, unsigned quality, RowFilter& filter, std::vector<Ranked>& found);
  Answer<Definition> best(std::vector<Ranked> found, std::size_t limit, bool is_cut);

  Reader& _reader;
  NameSearch _names;
  SQLite::Statement _with_words;
};

}  // namespace repository
