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
#include "index/file_digest.h"
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

// How often batches and progress are looked at while nothing comes.
constexpr std::chrono::milliseconds TICK{50};

// What is written from now on has at least this time, by the clocks of whoever may set it: that of
// this machine's file systems, and that of the journal's.
std::int64_t now(Journal& journal) {
  timespec at{};
  ::clock_gettime(CLOCK_REALTIME_COARSE, &at);
  return std::min(journal.now(), std::int64_t{at.tv_sec} * 1'000'000'000 + at.tv_nsec);
}

// What became of a file, for the index.
struct Ending {
  StoredFile file;
  bool is_read = true;  // otherwise what the index has of it stays
};

struct EndingOf {
  StoredFile file;

  Ending operator()(ParseResult& result) {
    file.hash = digest_bytes(result.content_hash);
    file.errors = std::move(result.errors);
    return settled(!file.hash.empty());
  }
  Ending operator()(const NoLanguage& outcome) {
    file.errors = {outcome.error};
    return settled(false);
  }
  Ending operator()(const Declined& declined) {
    if (declined.reason == Declined::Reason::binary) {
      file.language.reset();
    } else {
      file.errors = {"Failed to read file: it has " + std::to_string(declined.size) +
                     " bytes, and an index takes " + std::to_string(MOST_FILE_SIZE)};
    }
    return settled(true);
  }
  Ending operator()(const Raised& raised) {
    file.errors = {raised.text};
    const bool is_lasting = raised.kind == Raised::Kind::not_utf8 ||
                            raised.kind == Raised::Kind::result_limit ||
                            raised.kind == Raised::Kind::invalid_path;
    file.hash = digest_bytes(raised.content_hash);
    return settled(is_lasting);
  }

  // What may be otherwise the next time is tried again then.
  Ending settled(bool is_read) {
    if (!is_read) {
      file.state.mtime = FileState::UNTRUSTED;
      file.hash.clear();
    }
    return {std::move(file), is_read};
  }
};

class Update {
 public:
  Update(const UpdateOptions& options, const UpdateListener& listener)
      : _options(options), _listener(listener), _engine(options.rules) {}

  UpdateCounts operator()(const Place& place);

 private:
  void try_left_again(const Place& place, Store& store, Journal& journal, const WriteLock& lock);
  void try_again(const std::string& path, const Place& place, Store& store,
                 const std::vector<int>& to_close);
  void run(Store& store, Changes& changes, Tasks& tasks);
  void take(Store& store, ParsedItem& parsed, Task& task);
  void store_file(Store& store, ParsedItem& parsed, Task& task);

  const UpdateOptions& _options;
  const UpdateListener& _listener;
  const TreeSitterEngine _engine;
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

// One that dies is in the index with an error, by its state and hash: a changed one gets a new
// chance.
void Update::try_again(const std::string& path, const Place& place, Store& store,
                       const std::vector<int>& to_close) {
  engines::treesitter::ParseItem item{.path = place.root + '/' + path};
  item.max_size = MOST_FILE_SIZE;
  item.declines_binary = true;
  struct stat status {};
  if (::lstat(item.path.c_str(), &status) != 0) return;
  std::string hash = file_digest(item.path);
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
  EndingOf ending_of{{path, task.change.now, std::string(language.value_or("")), {}, {}}};
  const Ending ending = std::visit(ending_of, parsed.outcome);
  const bool is_binary = !ending.file.language;
  (is_binary ? _counts.binary : _counts.changed) += 1;
  if (ending.is_read || task.change.row.id == 0) {
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
  options.perform = [&tasks](ParsedItem& parsed, const std::function<void()>& parse) {
    tasks.perform(parsed, parse);
  };
  auto items = _engine.parse_many([&tasks] { return tasks.next(); }, options);
  const auto look = [&] {
    store.commit_if_due();
    auto longest = items.longest_under_way();
    if (longest) longest->path.erase(0, tasks.prefix().size());
    UpdateCounts counts = _counts;
    counts.unchanged += changes.unchanged();
    _listener.progress(counts, longest);
  };
  for (;;) {
    while (!items.wait_for(TICK)) look();
    auto parsed = items.next();
    if (!parsed) break;
    take(store, *parsed, *tasks.take(*parsed));
    look();
  }
  _counts.unchanged += changes.unchanged();
  _counts.left_out = changes.left_out();
}

UpdateCounts Update::operator()(const Place& place) {
  make_folder(place);
  const WriteLock lock(place.database);
  Journal journal(place.database);
  auto [database, is_made_anew] = open_to_write(place, _options.rules);
  if (is_made_anew) {
    _listener.note("the index was made by another version or by other rules, and is made anew");
  }
  Store store(database);
  try_left_again(place, store, journal, lock);
  Changes changes(place.root, FileRows(open_to_read(place.database)), now(journal));
  Tasks tasks(place.root, changes, journal);
  run(store, changes, tasks);
  store.finish();
  keep_small_log(database);
  _counts.failed = _faults + store.for_each_error(_listener.error);
  journal.remove();
  return _counts;
}

}  // namespace

UpdateCounts update(const UpdateOptions& options, const UpdateListener& listener) {
  const Place place = find_place(options.path, options.database);
  try {
    return Update(options, listener)(place);
  } catch (const SQLite::Exception& error) {
    throw IndexError(explanation(error, place.database));
  }
}

}  // namespace repository
