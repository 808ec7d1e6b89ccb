// See questions.h. Every question is one transaction, so that all that it reads is of one state.
#include "index/questions.h"

#include <sys/stat.h>

#include <utility>

#include "index/all_symbols.h"
#include "index/database.h"
#include "index/index_error.h"
#include "index/pending.h"
#include "index/place.h"
#include "index/reader.h"
#include "index/schema.h"
#include "index/statements.h"
#include "index/symbol_questions.h"
#include "index/use_questions.h"

namespace repository {

class Questions::State {
 public:
  explicit State(Place place)
      : _place(std::move(place)), _reader(open_to_ask(_place)), _symbols(_reader), _uses(_reader) {
    if (!_place.is_default) _place.root = _reader.meta("root").value_or(_place.root);
  }

  const Place& place() const { return _place; }
  Reader& reader() { return _reader; }
  SymbolQuestions& symbols() { return _symbols; }
  UseQuestions& uses() { return _uses; }

  template <typename Question>
  auto ask(const Question& question) {
    try {
      const SQLite::Transaction transaction(_reader.connection());
      _reader.forget();
      return question();
    } catch (const SQLite::Exception& error) {
      throw IndexError(explanation(error, _place.database, "read"));
    }
  }

 private:
  Place _place;
  Reader _reader;
  SymbolQuestions _symbols;
  UseQuestions _uses;
};

Questions::Questions(const std::string& path, const std::optional<std::string>& database) {
  Place place = find_place(path, database);
  const std::string file = place.database;
  try {
    _state = std::make_unique<State>(std::move(place));
  } catch (const SQLite::Exception& error) {
    throw IndexError(explanation(error, file, "read"));
  }
}

Questions::~Questions() = default;

const std::string& Questions::root() const { return _state->place().root; }

bool Questions::is_complete() const {
  return _state->ask([&] { return _state->reader().meta("complete") == "1"; });
}

bool Questions::is_outdated() const {
  const auto made_by = _state->ask([&] { return _state->reader().meta("made_by"); });
  return made_by != maker(engines::treesitter::Rules::navigation) &&
         made_by != maker(engines::treesitter::Rules::standard);
}

Answer<Definition> Questions::find(const FindQuestion& question) {
  return _state->ask([&] { return _state->symbols().find(question); });
}

Answer<Definition> Questions::search(const std::string& words, const Filter& filter) {
  return _state->ask([&] { return _state->symbols().search(words, filter); });
}

std::optional<Answer<Definition>> Questions::outline(const std::string& path) {
  return _state->ask([&] { return _state->symbols().outline(path); });
}

Answer<Use> Questions::callers(const std::string& name, const Filter& filter) {
  return _state->ask([&] { return _state->uses().callers(name, filter); });
}

Answer<Use> Questions::references(const std::string& name, const Filter& filter) {
  return _state->ask([&] { return _state->uses().references(name, filter); });
}

std::optional<Answer<Use>> Questions::callees(const std::string& fqn, const Filter& filter) {
  return _state->ask([&] { return _state->uses().callees(fqn, filter); });
}

Answer<Use> Questions::importers(const std::string& module, const Filter& filter) {
  return _state->ask([&] { return _state->uses().importers(module, filter); });
}

void Questions::for_each_file(const std::function<void(const FileSymbols&)>& take) {
  _state->ask([&] { repository::for_each_file(_state->reader(), take); });
}

void Questions::changed(const std::function<void(const PendingChange&)>& take) {
  try {
    for_each_pending(root(), open_to_read(_state->place().database), take);
  } catch (const SQLite::Exception& error) {
    throw IndexError(explanation(error, _state->place().database, "read"));
  }
}

Statistics Questions::statistics() {
  return _state->ask([&] {
    Reader& reader = _state->reader();
    Statistics found{.root = root(),
                     .database = _state->place().database,
                     .made_by = reader.meta("made_by").value_or(""),
                     .is_complete = reader.meta("complete") == "1",
                     .bytes = 0,
                     .failed = 0,
                     .languages = {}};
    struct stat status {};
    if (::stat(found.database.c_str(), &status) == 0) found.bytes = status.st_size;
    SQLite::Database& database = reader.connection();
    found.failed = database.execAndGet("SELECT count(DISTINCT file) FROM error").getInt64();
    SQLite::Statement languages(database,
                                "SELECT language, count(*), sum(symbols) FROM file "
                                "WHERE language IS NOT NULL GROUP BY language ORDER BY language");
    while (languages.executeStep()) {
      found.languages.push_back({bytes_of(languages.getColumn(0)),
                                 languages.getColumn(1).getInt64(),
                                 languages.getColumn(2).getInt64()});
    }
    return found;
  });
}

}  // namespace repository
