// The questions that an index answers. It may be written at the same time: a question sees the
// state that was committed before it, and waits for nobody.
//
//   Questions questions(".", std::nullopt);
//   for (const Definition& row : questions.find({.text = "parse"}).rows) ...
//
// Cost: names are found by indexes of the database, never by reading all. With a limit, a question
// looks at some thousand names or symbols and says when there are more; without one, at all that
// match. What a name may mean is worked out once for each file that uses it.
//
// An object may be used by any thread, by one at a time, and never in a process that was forked
// from the one that made it.
//
// Tested by tests/questions_test.py.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "index/answers.h"
#include "index/place.h"
#include "index/poll.h"

namespace repository {

inline constexpr std::size_t NO_LIMIT = SIZE_MAX;

// Which rows an answer may have. A question throws QuestionError for a kind that does not exist.
struct Filter {
  std::optional<std::string> kind = std::nullopt;      // of symbols; find and search heed it
  std::optional<std::string> language = std::nullopt;  // of the file
  std::optional<std::string> glob = std::nullopt;      // of the file's path, or of a folder above
  std::size_t limit = NO_LIMIT;
};

// How a name has to fit the text that is asked for. None of them heeds the case of ASCII letters.
enum class Match : std::uint8_t {
  exact,
  prefix,
  substring,  // a text of less than three characters has to begin a word of the name
  fuzzy,      // each word of the text begins a word of the name
};

struct FindQuestion {
  std::string text;
  Match match = Match::exact;
  Filter filter{};
};

class Questions {
 public:
  // Opens the index of the repository around `path`, or that database. Throws IndexError when there
  // is none, or one of another version. Every question throws it when the index is damaged, or when
  // another version has meanwhile made it anew.
  Questions(const std::string& path, const std::optional<std::string>& database);
  // Opens the index of a place that was found before. A question for which the poll gives true ends
  // with an IndexError.
  explicit Questions(Place place, Poll poll = {});
  ~Questions();
  Questions(const Questions&) = delete;
  Questions& operator=(const Questions&) = delete;

  // Whether the file that was opened is still at its place. If not, somebody has removed or
  // replaced it, and answers are those of the old file.
  bool is_current() const;

  // The folder that paths start from; absolute.
  const std::string& root() const;
  // Whether the last run over the repository came to its end.
  bool is_complete() const;
  // Whether another version of the tool or of a grammar made it: the next run makes it anew.
  bool is_outdated() const;

  // Definitions by name. How well the name fits comes first (the exact case before others), then
  // files that are no tests, then exported symbols.
  Answer<Definition> find(const FindQuestion& question);
  // Definitions whose signature and documentation have all of these words. Throws QuestionError
  // when there is no word.
  Answer<Definition> search(const std::string& words, const Filter& filter);
  // The symbols of a file, in document order. None when the index has no such file.
  std::optional<Answer<Definition>> outline(const std::string& path);

  // Calls of that name.
  Answer<Use> callers(const std::string& name, const Filter& filter);
  // All references to that name.
  Answer<Use> references(const std::string& name, const Filter& filter);
  // Calls on the lines of a symbol, which is given by its FQN or the last components of it. None
  // when there is no such symbol.
  std::optional<Answer<Use>> callees(const std::string& fqn, const Filter& filter);
  // Imports of a module, which is given by its name or path, or the last components of one.
  Answer<Use> importers(const std::string& module, const Filter& filter);

  // Calls `take` for each change that the next run would make, in the order of paths. Reads the
  // files that look changed.
  void changed(const std::function<void(const PendingChange&)>& take);
  Statistics statistics();
  // Calls `take` for each file that has symbols, in no particular order.
  void for_each_file(const std::function<void(const FileSymbols&)>& take);

 private:
  class State;
  std::unique_ptr<State> _state;
};

}  // namespace repository
