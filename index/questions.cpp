// See questions.h. Every question is one transaction, so that it reads one state of the index.
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
  State(Place place, Poll poll)
      : _place(std::move(place)),
        _poll(std::move(poll)),
        _file(file_at(_place.database)),
        _reader(open_to_ask(_place, _poll)),
        _symbols(_reader),
        _uses(_reader) {
    if (!_place.is_default) _place.root = _reader.meta("root").value_or(_place.root);
  }

  const Place& place() const { return _place; }
  const Poll& poll() const { return _poll; }
  bool is_current() const { return file_at(_place.database) == _file; }
  Reader& reader() { return _reader; }
  SymbolQuestions& symbols() { return _symbols; }
  UseQuestions& uses() { return _uses; }

  template <typename Question>
  auto ask(const Question& question) {
    try {
      const SQLite::Transaction transaction(_reader.connection());
      _reader.forget();
      require_schema(_reader.meta("made_by"), _place.database);
      return question();
    } catch (const SQLite::Exception& error) {
      throw IndexError(explanation(error, _place.database, "read"));
    }
  }

 private:
  // What identifies the file at a path; zeros when there is none.
  static std::pair<dev_t, ino_t> file_at(const std::string& path) {
    struct stat status {};
    return ::stat(path.c_str(), &status) == 0 ? std::pair(status.st_dev, status.st_ino)
                                              : std::pair<dev_t, ino_t>();
  }

  Place _place;
  const Poll _poll;
  // Read before the database is opened. If the file is replaced in between, the new one that was
  // opened is taken for gone, and never the other way round.
  const std::pair<dev_t, ino_t> _file;
  Reader _reader;
  SymbolQuestions _symbols;
  UseQuestions _uses;
};

Questions::Questions(const std::string& path, const std::optional<std::string>& database)
    : Questions(find_place(path, database)) {}

Questions::Questions(Place place, Poll poll) {
  const std::string file = place.database;
  try {
    _state = std::make_unique<State>(std::move(place), std::move(poll));
  } catch (const SQLite::Exception& error) {
    throw IndexError(explanation(error, file, "read"));
  }
}

Questions::~Questions() = default;

bool Questions::is_current() const { return _state->is_current(); }

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
  _state->ask([] {});  // throws when the index cannot be asked
  try {
    const Poll& poll = _state->poll();
    for_each_pending(root(), open_to_read(_state->place().database, &poll), poll, take);
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
    SQLite::Database& database = reader.connection();
    found.bytes = database.execAndGet("PRAGMA page_count").getInt64() *
                  database.execAndGet("PRAGMA page_size").getInt64();
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
