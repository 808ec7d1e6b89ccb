// What somebody may ask an index, which may be written at the same time: a question sees the state
// that was committed before it, and waits for nobody.
//
//   Questions questions(".", std::nullopt);
//   for (const Definition& row : questions.find({.text = "parse"}).rows) ...
//
// Cost: names are found by the index's own indexes, never by reading all. With a limit, a question
// looks at some thousand names or symbols and says when there are more; without one, at all that
// match. What a use may mean is looked up once per asking file.
//
// For one thread at a time, whichever, and never in a process forked from the one that made it.
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

// Which files and symbols an answer may name.
struct Filter {
  std::optional<std::string> kind = std::nullopt;
  std::optional<std::string> language = std::nullopt;
  std::optional<std::string> glob = std::nullopt;  // of paths, or of a folder above them
  std::size_t limit = NO_LIMIT;
};

enum class Match : std::uint8_t {
  exact,  // in upper or lower case
  prefix,
  substring,  // of less than three characters: the beginning of a word of the name
  fuzzy,      // each word begins a word of the name
};

struct FindQuestion {
  std::string text;
  Match match = Match::exact;
  Filter filter{};
};

class Questions {
 public:
  // Of the repository around `path`, or of that database. Throws IndexError when there is none, or
  // one of another version, as does every question to a damaged one, or to one that another version
  // has meanwhile made anew.
  Questions(const std::string& path, const std::optional<std::string>& database);
  // The same of a place that was found before. Questions end when the poll says so.
  explicit Questions(Place place, Poll poll = {});
  ~Questions();
  Questions(const Questions&) = delete;
  Questions& operator=(const Questions&) = delete;

  // Whether the file that was opened is still the one at its place. If not, somebody has removed it
  // or put another one there, and answers are of what is gone.
  bool is_current() const;

  // The folder that paths start from; absolute.
  const std::string& root() const;
  // Whether the last run over the repository came to its end.
  bool is_complete() const;
  // Whether another version of the tool or of a grammar made it: the next run makes it anew.
  bool is_outdated() const;

  // By name; the exact case first, then what is no test, then what is exported.
  Answer<Definition> find(const FindQuestion& question);
  // By words of signatures and documentation, all of which must be there.
  Answer<Definition> search(const std::string& words, const Filter& filter);
  // The symbols of a file, in document order. None when the index has no such file.
  std::optional<Answer<Definition>> outline(const std::string& path);

  // Calls of that name.
  Answer<Use> callers(const std::string& name, const Filter& filter);
  // Everything that refers to it.
  Answer<Use> references(const std::string& name, const Filter& filter);
  // Calls between the lines of a symbol, which is named by its FQN or the last components of it.
  // None when there is no such symbol.
  std::optional<Answer<Use>> callees(const std::string& fqn, const Filter& filter);
  // Imports of a module, by its name or path, or the last components of them.
  Answer<Use> importers(const std::string& module, const Filter& filter);

  // What the next run would do, in the order of paths; reads no more of the files than it would.
  void changed(const std::function<void(const PendingChange&)>& take);
  Statistics statistics();
  // Every symbol of the index, file by file, in any order of the files.
  void for_each_file(const std::function<void(const FileSymbols&)>& take);

 private:
  class State;
  std::unique_ptr<State> _state;
};

}  // namespace repository
