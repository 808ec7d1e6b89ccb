// The names of an index that a question may mean, the best first: the whole name in any case, names
// that begin so, then the others.
//
// Cost: a range of an index, or what the tables of parts and words give for all parts of the text.
//
// Tested by tests/questions_test.py.
#pragma once

#include <SQLiteCpp/SQLiteCpp.h>

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

#include "index/questions.h"

namespace repository {

// An expression of FTS5 for texts that hold all of these, which may be any.
std::string all_of(const std::vector<std::string>& texts, std::string_view behind_each = {});

// As the tables of words take a text apart, as far as ASCII goes.
std::vector<std::string> words_in(std::string_view text);

// ASCII letters in lower case, as the index compares names.
std::string folded(std::string_view text);

class NameSearch {
 public:
  // `quality`: 0 for the name itself, then more. Gives no when it has enough.
  using Take = std::function<bool(std::int64_t name, unsigned quality)>;

  explicit NameSearch(SQLite::Database& connection);

  // Gives each name once.
  void operator()(std::string_view text, Match match, const Take& take);

 private:
  bool whole(const std::string& text, const Take& take);
  bool beginning(const std::string& text, const Take& take);
  bool with_part(const std::string& text, const Take& take);
  bool with_words(const std::string& text, const Take& take);
  bool give(SQLite::Statement& statement,
            const std::function<unsigned(const std::string&)>& quality, const Take& take);

  SQLite::Statement _whole;
  SQLite::Statement _beginning;
  SQLite::Statement _with_part;
  SQLite::Statement _with_words;
  std::unordered_set<std::int64_t> _given;
};

}  // namespace repository
