// See catalogue.h.
#include "index/catalogue.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <exception>
#include <filesystem>
#include <iterator>
#include <mutex>
#include <system_error>
#include <thread>
#include <tuple>
#include <utility>

#include "engines/treesitter/treesitter.h"
#include "index/database.h"
#include "index/index_error.h"
#include "index/place.h"
#include "index/statements.h"
#include "index/system_calls.h"

namespace repository {
namespace {

constexpr const char* LIST = "/catalogue.sqlite";
constexpr const char* REPOSITORIES = "/repositories";
constexpr const char* TABLES =
    "CREATE TABLE IF NOT EXISTS root(path BLOB NOT NULL);"
    "CREATE TABLE IF NOT EXISTS repository(name BLOB PRIMARY KEY) WITHOUT ROWID";

std::string database_of(const std::string& folder, const std::string& repository) {
  return folder + REPOSITORIES + '/' + repository + ".sqlite";
}

// Gives the folder, which then exists.
std::string made(const std::string& folder) {
  std::error_code error;
  std::filesystem::create_directories(folder + REPOSITORIES, error);
  if (error) {
    errno = error.value();
    throw_system_error("make", folder + REPOSITORIES);
  }
  return folder;
}

// The first column of each row.
std::vector<std::string> texts(SQLite::Database& list, const char* question) {
  SQLite::Statement statement(list, question);
  std::vector<std::string> found;
  while (statement.executeStep()) found.push_back(bytes_of(statement.getColumn(0)));
  return found;
}

// Collects rows of several indexes on several threads.
class Merging {
 public:
  explicit Merging(std::size_t limit) : _limit(limit) {}

  void add(Answer<Definition>&& answer, bool is_complete) {
    const std::scoped_lock lock(_mutex);
    Answer<Definition>& all = _found.answer;
    _found.is_complete = _found.is_complete && is_complete;
    all.is_cut = all.is_cut || answer.is_cut;
    std::move(answer.rows.begin(), answer.rows.end(), std::back_inserter(all.rows));
    if (all.rows.size() / 2 > _limit) cut();
  }

  void fail(std::exception_ptr why) {
    const std::scoped_lock lock(_mutex);
    if (!_failure) _failure = std::move(why);
  }

  Catalogue::Found take() {
    if (_failure) std::rethrow_exception(_failure);
    cut();
    return std::move(_found);
  }

 private:
  // Sorts the rows as SymbolQuestions does, and keeps the first of them.
  void cut() {
    std::vector<Definition>& rows = _found.answer.rows;
    const auto key = [](const Definition& row) {
      return std::tuple(row.quality, row.is_test, !row.is_export, std::string_view(row.path),
                        row.id);
    };
    std::sort(rows.begin(), rows.end(), [&](const Definition& one, const Definition& other) {
      return key(one) < key(other);
    });
    if (rows.size() <= _limit) return;
    _found.answer.is_cut = true;
    rows.erase(rows.begin() + static_cast<std::ptrdiff_t>(_limit), rows.end());
  }

  const std::size_t _limit;
  std::mutex _mutex;
  Catalogue::Found _found;
  std::exception_ptr _failure;
};

}  // namespace

CatalogueWriter::CatalogueWriter(const std::string& folder, const std::string& root)
    : _folder(made(folder)),
      _root(root),
      _lock(_folder + LIST),
      _list(_folder + LIST, SQLite::OPEN_READWRITE | SQLite::OPEN_CREATE) {
  _list.exec(TABLES);
}

std::string CatalogueWriter::database(const std::string& repository) const {
  return database_of(_folder, repository);
}

void CatalogueWriter::remove(const std::string& repository) const {
  for (const char* rest : {"", "-wal", "-shm", "-lock", "-running"}) {
    std::error_code error;
    std::filesystem::remove(database(repository) + rest, error);
  }
}

void CatalogueWriter::finish() {
  const auto before = texts(_list, "SELECT name FROM repository");
  SQLite::Transaction transaction(_list, SQLite::TransactionBehavior::IMMEDIATE);
  _list.exec("DELETE FROM repository; DELETE FROM root");
  SQLite::Statement insert_root(_list, "INSERT INTO root VALUES(?)");
  bind_bytes(insert_root, 1, _root);
  insert_root.exec();
  SQLite::Statement insert(_list, "INSERT INTO repository VALUES(?)");
  for (const std::string& repository : _repositories) {
    bind_bytes(insert, 1, repository);
    insert.exec();
    insert.reset();
  }
  transaction.commit();
  for (const std::string& repository : before) {
    if (!_repositories.contains(repository)) remove(repository);
  }
}

Catalogue::Catalogue(std::string folder) : _folder(std::move(folder)) {
  try {
    SQLite::Database list = open_to_read(_folder + LIST);
    const auto roots = texts(list, "SELECT path FROM root");
    if (roots.empty()) throw IndexError("the catalogue '" + _folder + "' is not finished");
    _root = roots.front();
    _repositories = texts(list, "SELECT name FROM repository");
  } catch (const SQLite::Exception& error) {
    throw IndexError("there is no catalogue in '" + _folder + "' (" + error.what() + ")");
  }
}

Catalogue::Found Catalogue::find(const FindQuestion& question, std::size_t threads) const {
  if (threads == 0) threads = engines::treesitter::usable_processors();
  Merging merging(question.filter.limit);
  std::atomic<std::size_t> next = 0;
  const auto ask = [&] {
    try {
      for (std::size_t i = next++; i < _repositories.size(); i = next++) {
        Questions one(Place{_root, database_of(_folder, _repositories[i]), false});
        merging.add(one.find(question), one.is_complete());
      }
    } catch (...) {
      merging.fail(std::current_exception());
    }
  };
  {
    std::vector<std::jthread> others;
    try {
      for (std::size_t i = 1; i < std::min(threads, _repositories.size()); ++i) {
        others.emplace_back(ask);
      }
    } catch (const std::system_error&) {
      // This thread and those that the system has given are enough.
    }
    ask();
  }
  return merging.take();
}

}  // namespace repository
