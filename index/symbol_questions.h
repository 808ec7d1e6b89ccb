// The questions about symbols: by name, by words, by file. questions.h says what each answers.
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
  struct Row {
    unsigned quality;
    bool is_test;
    bool is_export;
    std::int64_t id;
  };
  struct Rows {
    std::vector<Row> rows;
    std::size_t looked_at = 0;
    bool is_cut = false;
  };

  void add(const Reader::Ranked& symbol, unsigned quality, RowFilter& filter, Rows& found);
  void add_named(std::int64_t name, unsigned quality, RowFilter& filter, Rows& found);
  void add_in_files(std::int64_t name, unsigned quality, RowFilter& filter, Rows& found);
  Answer<Definition> best(Rows found, std::size_t limit);

  Reader& _reader;
  NameSearch _names;
  SQLite::Statement _with_words;
};

}  // namespace repository
