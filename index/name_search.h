// Finds the names of an index that fit a text, the best first: the whole name in any case, names
// that begin with the text, then the others.
//
// Cost: a range of an index of names, or all names that the tables of trigrams and words give for
// the text.
//
// Tested by tests/questions_test.py.
#pragma once

#include <SQLiteCpp/SQLiteCpp.h>

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <unordered_set>

#include "index/questions.h"

namespace repository {

class NameSearch {
 public:
  // Takes the id of a name. `quality`: 0 is best. False ends the search.
  using Take = std::function<bool(std::int64_t name, unsigned quality)>;

  explicit NameSearch(SQLite::Database& connection);

  // Calls `take` once for each name.
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
