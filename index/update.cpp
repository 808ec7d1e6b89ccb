// See update.h.
#include "index/update.h"

#include <sys/stat.h>
#include <time.h>

#include <algorithm>
#include <chrono>
#include <utility>
#include <variant>

#include "engines/languages/languages.h"
#include "index/changes.h"
#include "index/database.h"
#include "index/file_hash.h"
#include "index/file_state.h"
#include "index/index_error.h"
#include "index/journal.h"
#include "index/place.h"
#include "index/store.h"
#include "index/tasks.h"
#include "index/trial.h"
#include "index/write_lock.h"

namespace repository {
namespace {

using engines::treesitter::Declined;
using engines::treesitter::NoLanguage;
using engines::treesitter::ParsedItem;
using engines::treesitter::ParseManyOptions;
using engines::treesitter::ParseResult;
using engines::treesitter::Raised;
using engines::treesitter::TreeSitterEngine;

// How often, while no outcome comes, the batch is committed if it is due, and progress is told.
constexpr std::chrono::milliseconds TICK{50};

// No file that is written from now on gets a time before this one: the earlier of two clocks, that
// of this machine and that of the file system with the journal.
std::int64_t now(Journal& journal) {
  timespec at{};
  ::clock_gettime(CLOCK_REALTIME_COARSE, &at);
  return std::min(journal.now(), nanoseconds(at));
}

// What became of a file.
struct Ending {
  StoredFile file;
  bool is_settled = true;  // otherwise the index keeps the file's symbols
};

// Makes the ending of an outcome. One that may be different the next time is not settled: the file
// is then tried again by the next run.
struct EndingOf {
  StoredFile file;
  std::uint64_t max_size;

  Ending operator()(ParseResult& result) {
    file.hash = hash_bytes(result.content_hash);
    file.errors = std::move(result.errors);
    return ending(!file.hash.empty());
  }
  Ending operator()(const NoLanguage& outcome) {
    file.errors = {outcome.error};
    return ending(false);
  }
  Ending operator()(const Declined& declined) {
    if (declined.reason == Declined::Reason::binary) {
      file.language.reset();
    } else {
      file.errors = {too_large_text(declined.size, max_size)};
    }
    return ending(true);
  }
  Ending operator()(const Raised& raised) {
    file.errors = {raised.text};
    const bool is_lasting = raised.kind == Raised::Kind::not_utf8 ||
                            raised.kind == Raised::Kind::result_limit ||
                            raised.kind == Raised::Kind::invalid_path;
    file.hash = hash_bytes(raised.content_hash);
    return ending(is_lasting);
  }

  Ending ending(bool is_settled) {
    if (!is_settled) {
      file.state.mtime = FileState::UNTRUSTED;
      file.hash.clear();
    }
    return {std::move(file), is_settled};
  }
};

class Update {
 public:
  Update(const UpdateOptions& options, const UpdateListener& listener,
         const TreeSitterEngine& engine, const UpdateScope& scope)
      : _options(options), _listener(listener), _engine(engine), _scope(scope) {}

  UpdateCounts operator()(const Place& place);

 private:
  void settle_rules(SQLite::Database& database);
  void try_left_again(const Place& place, Store& store, Journal& journal, const WriteLock& lock);
  void try_again(const std::string& path, const Place& place, Store& store,
                 const std::vector<int>& to_close);
  void run(Store& store, Changes& changes, Tasks& tasks);
  void take(Store& store, ParsedItem& parsed, Task& task);
  void store_file(Store& store, ParsedItem& parsed, Task& task);

  const UpdateOptions& _options;
  const UpdateListener& _listener;
  const TreeSitterEngine& _engine;
  const UpdateScope& _scope;
  FileRules _rules;
  bool _is_all = true;
  UpdateCounts _counts;
  std::size_t _faults = 0;
};

// ---- Files that may have killed a run ----

void Update::try_left_again(const Place& place, Store& store, Journal& journal,
                            const WriteLock& lock) {
  for (const std::string& path : journal.left()) {
    try_again(path, place, store, {lock.descriptor(), journal.descriptor()});
  }
  journal.clear();
}

// A file that kills its process gets an error in the index, together with its state and hash. So it
// is parsed again only when it has changed.
void Update::try_again(const std::string& path, const Place& place, Store& store,
                       const std::vector<int>& to_close) {
  engines::treesitter::ParseItem item{.path = with_slash(place.root) + path};
  item.max_size = _rules.max_size;
  item.declines_binary = true;
  struct stat status {};
  if (::lstat(item.path.c_str(), &status) != 0) return;
  std::string hash = file_hash(item.path);
  const auto death = trial_death(_engine, item, to_close);
  if (!death) return;
  const auto row = store.find(path);
  const auto language = engines::languages::detect_language(path);
  store.put(
      row ? row->id : 0,
      {path, FileState::of(status), std::string(language.value_or("")), std::move(hash), {*death}},
      {});
  store.commit();
}

// ---- The run ----

void Update::store_file(Store& store, ParsedItem& parsed, Task& task) {
  const std::string& path = task.change.row.path;
  const auto language = engines::languages::detect_language(path);
  EndingOf ending_of{{path, task.change.now, std::string(language.value_or("")), {}, {}},
                     _rules.max_size};
  const Ending ending = std::visit(ending_of, parsed.outcome);
  if (!_is_all) {
    for (const std::string& text : ending.file.errors) _listener.error(path, text);
    _counts.failed += ending.file.errors.empty() ? 0 : 1;
  }
  const bool is_binary = !ending.file.language;
  (is_binary ? _counts.binary : _counts.changed) += 1;
  if (ending.is_settled || task.change.row.id == 0) {
    store.put(task.change.row.id, ending.file, task.packed);
  } else {
    store.put_head(task.change.row.id, ending.file);
  }
}

void Update::take(Store& store, ParsedItem& parsed, Task& task) {
  const FileRow& row = task.change.row;
  switch (task.change.kind) {
    case Change::Kind::fault:
      ++_faults;
      _listener.error(row.path, task.change.fault);
      break;
    case Change::Kind::removed:
      _counts.removed += row.is_binary ? 0 : 1;
      store.remove(row.id);
      break;
    case Change::Kind::written:
      if (task.is_same) {
        ++_counts.unchanged;
        store.touch(row.id, task.change.now);
      } else {
        store_file(store, parsed, task);
      }
      break;
  }
}

void Update::run(Store& store, Changes& changes, Tasks& tasks) {
  ParseManyOptions options;
  options.threads = _options.threads;
  options.stop = _scope.stop;
  options.perform = [&tasks](ParsedItem& parsed, const std::function<void()>& parse) {
    tasks.perform(parsed, parse);
  };
  auto items = _engine.parse_many([&tasks] { return tasks.next(); }, options);
  const auto look = [&] {
    if (_is_all) store.commit_if_due();
    auto longest = items.longest_under_way();
    if (longest) longest->path.erase(0, tasks.prefix().size());
    UpdateCounts counts = _counts;
    counts.unchanged += changes.unchanged();
    _listener.progress(counts, longest);
  };
  for (;;) {
    while (!items.wait_for(TICK)) look();
    auto parsed = items.next();
    if (!parsed || _scope.stop.stop_requested()) break;
    take(store, *parsed, *tasks.take(*parsed));
    look();
  }
  _counts.unchanged += changes.unchanged();
  _counts.binary += changes.unchanged_binary();
  _counts.left_out = changes.left_out();
}

// New rules are kept before the run begins, so that they hold even if it fails.
void Update::settle_rules(SQLite::Database& database) {
  _rules = read_file_rules(database);
  if (!_options.files || *_options.files == _rules) return;
  _rules = *_options.files;
  SQLite::Transaction transaction(database, SQLite::TransactionBehavior::IMMEDIATE);
  write_file_rules(database, _rules);
  database.exec("UPDATE meta SET value = 0 WHERE key = 'complete'");
  transaction.commit();
}

UpdateCounts Update::operator()(const Place& place) {
  make_folder(place);
  const WriteLock lock(place.database);
  Journal journal(place.database);
  auto [database, is_made_anew] = open_to_write(place, _options.rules);
  if (is_made_anew) {
    _listener.note("the index was made by another version or by other rules, and is made anew");
  }
  settle_rules(database);
  Store store(database);
  walk::Selection selection;
  if (_scope.select) selection = _scope.select(_rules, store.is_complete());
  _is_all = selection.is_all();
  try_left_again(place, store, journal, lock);
  Changes changes({place.root, _rules.walk, std::move(selection), _scope.entering},
                  open_to_read(place.database), now(journal));
  Tasks tasks(place.root, changes, journal, _rules.max_size);
  run(store, changes, tasks);
  _counts.failed += _faults;
  if (_scope.stop.stop_requested()) {
    if (_is_all) store.commit();
    return _counts;
  }
  store.finish();
  keep_small_log(database);
  if (_is_all) {
    _counts.failed += store.for_each_error(_listener.error, _rules.max_size, _counts.large);
  }
  journal.remove();
  return _counts;
}

}  // namespace

Updater::Updater(UpdateOptions options, UpdateListener listener)
    : _options(std::move(options)),
      _listener(std::move(listener)),
      _place(find_place(_options.path, _options.database)),
      _engine(_options.rules) {}

UpdateCounts Updater::operator()(const UpdateScope& scope) {
  try {
    const UpdateCounts counts = Update(_options, _listener, _engine, scope)(_place);
    _options.files.reset();  // the index keeps them now, and another process may change them
    return counts;
  } catch (const SQLite::Exception& error) {
    throw IndexError(explanation(error, _place.database));
  }
}

UpdateCounts update(const UpdateOptions& options, const UpdateListener& listener) {
  return Updater(options, listener)();
}

}  // namespace repository
