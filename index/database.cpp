// See database.h.
#include "index/database.h"

#include <sqlite3.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

#include "index/file_rules.h"
#include "index/index_error.h"
#include "index/schema.h"
#include "index/statements.h"
#include "index/system_calls.h"

namespace repository {
namespace {

// The layout of SQLite's files, as SQLite documents it: the magic at the beginning, the
// application's number behind it.
constexpr std::string_view MAGIC("SQLite format 3\0", 16);
constexpr std::size_t APPLICATION_ID_PLACE = 68;
constexpr std::size_t HEADER = 100;

// In ms. Our own writers never meet here (write_lock.h), but other programs may lock the database.
constexpr int BUSY_TIMEOUT = 10'000;

constexpr int STEPS_PER_POLL = 1000;  // instructions of SQLite's virtual machine, some 50 µs
constexpr int BUSY_PAUSE = 10;        // ms

constexpr const char* HOW_TO_MAKE_ONE = "; `treesitter-engine index` makes one";

// wal_autocheckpoint is in pages, cache_size in KiB.
constexpr const char* SETTINGS = R"(
PRAGMA trusted_schema = OFF;
PRAGMA synchronous = NORMAL;
PRAGMA wal_autocheckpoint = 4000;
PRAGMA cache_size = -65536;
PRAGMA temp_store = MEMORY;
)";

// A log stays when it has at most so many bytes, and the database is at least so many times as
// large.
constexpr off_t MOST_LOG = off_t{2} << 20;
constexpr off_t LEAST_DATABASE = 2;

int should_end(void* poll) { return (*static_cast<const Poll*>(poll))() ? 1 : 0; }

int should_wait(void* poll, int times) {
  if (times >= BUSY_TIMEOUT / BUSY_PAUSE || (*static_cast<const Poll*>(poll))()) return 0;
  sqlite3_sleep(BUSY_PAUSE);
  return 1;
}

// The size of a file, 0 where there is none. Throws when there is something that cannot be read, or
// no regular file.
off_t size_of_file(const std::string& path) {
  struct stat status {};
  if (::stat(path.c_str(), &status) != 0) {
    if (errno == ENOENT) return 0;
    throw_system_error("open", path);
  }
  if (!S_ISREG(status.st_mode)) throw IndexError("'" + path + "' is no regular file");
  if (::access(path.c_str(), R_OK) != 0) throw_system_error("open", path);
  return status.st_size;
}

// Throws when the file is neither empty nor an index. Reads by SQLite's own descriptor: closing one
// of ours would drop the locks that all connections of this process have on the file, and another
// process would then remove the log that they read. A file of one byte is judged here, since SQLite
// takes it for an empty one.
void require_ours(const SQLite::Database& database, off_t size) {
  if (size == 0) return;
  const std::string& path = database.getFilename();
  sqlite3_file* file = nullptr;
  std::array<char, HEADER> bytes{};
  int status = sqlite3_file_control(database.getHandle(), "main", SQLITE_FCNTL_FILE_POINTER, &file);
  if (status == SQLITE_OK && size >= static_cast<off_t>(HEADER)) {
    status = file->pMethods->xRead(file, bytes.data(), static_cast<int>(bytes.size()), 0);
  }
  if (status != SQLITE_OK) throw SQLite::Exception("the file cannot be read", status);
  const std::string_view header(bytes.data(), bytes.size());
  if (!header.starts_with(MAGIC)) {
    throw IndexError("'" + path + "' is no index, and is left as it is");
  }
  std::uint32_t id = 0;
  for (std::size_t i = 0; i < 4; ++i) {
    id = id << 8 | static_cast<unsigned char>(bytes[APPLICATION_ID_PLACE + i]);
  }
  if (id != APPLICATION_ID) {
    throw IndexError("'" + path + "' is a database of something else, and is left as it is");
  }
}

std::optional<std::string> meta(SQLite::Database& database, const std::string& key) {
  if (!database.tableExists("meta")) return std::nullopt;
  SQLite::Statement statement(database, "SELECT value FROM meta WHERE key = ?");
  statement.bind(1, key);
  if (!statement.executeStep()) return std::nullopt;
  return bytes_of(statement.getColumn(0));
}

void set_meta(SQLite::Database& database, const std::string& key, const std::string& value) {
  SQLite::Statement statement(database, "INSERT OR REPLACE INTO meta VALUES(?, ?)");
  statement.bind(1, key);
  statement.bind(2, value);
  statement.exec();
}

// Virtual tables first: dropping one drops the tables in which it keeps its rows.
void drop_all(SQLite::Database& database) {
  std::vector<std::string> names;
  {
    SQLite::Statement statement(database,
                                "SELECT name FROM sqlite_master WHERE type = 'table' AND name NOT "
                                "LIKE 'sqlite_%' ORDER BY sql NOT LIKE 'CREATE VIRTUAL%'");
    while (statement.executeStep()) names.push_back(statement.getColumn(0).getString());
  }
  for (const std::string& name : names) {
    database.exec("DROP TABLE IF EXISTS \"" + name + "\"");
  }
}

// The application's number comes first: from then on a killed run leaves a file that is known as
// ours.
void begin_file(SQLite::Database& database) {
  if (database.execAndGet("PRAGMA application_id").getInt64() != APPLICATION_ID) {
    database.exec("PRAGMA application_id = " + std::to_string(APPLICATION_ID));
  }
  if (database.execAndGet("PRAGMA journal_mode = WAL").getString() != "wal") {
    throw IndexError("the file system of '" + database.getFilename() +
                     "' does not let several processes share a database");
  }
}

void require_root(SQLite::Database& database, const Place& place) {
  if (place.is_default) return;
  const auto root = meta(database, "root");
  if (root && *root != place.root) {
    throw IndexError("'" + place.database + "' is the index of '" + *root + "', not of '" +
                     place.root + "'");
  }
}

}  // namespace

OpenedDatabase open_to_write(const Place& place, engines::treesitter::Rules rules, Tables tables) {
  const off_t size = size_of_file(place.database);
  OpenedDatabase opened{
      SQLite::Database(place.database,
                       SQLite::OPEN_READWRITE | SQLite::OPEN_CREATE | SQLite::OPEN_NOMUTEX,
                       BUSY_TIMEOUT),
      false};
  SQLite::Database& database = opened.connection;
  require_ours(database, size);
  if (sqlite3_db_readonly(database.getHandle(), "main") == 1) {
    errno = EACCES;
    throw_system_error("write", place.database);
  }
  database.exec(SETTINGS);
  begin_file(database);
  require_root(database, place);
  const std::string us = maker(rules);
  const auto made_by = meta(database, "made_by");
  if (made_by != us || tables == Tables::empty) {
    opened.is_made_anew = made_by.has_value();
    SQLite::Transaction transaction(database, SQLite::TransactionBehavior::IMMEDIATE);
    const FileRules files = read_file_rules(database);
    drop_all(database);
    database.exec(SCHEMA);
    write_file_rules(database, files);
    set_meta(database, "made_by", us);
    set_meta(database, "complete", "0");
    transaction.commit();
  }
  if (meta(database, "root") != place.root) set_meta(database, "root", place.root);
  return opened;
}

void keep_small_log(SQLite::Database& database) {
  const std::string& path = database.getFilename();
  const off_t log = size_of_file(path + "-wal");
  const bool is_small = log <= MOST_LOG && log <= size_of_file(path) / LEAST_DATABASE;
  sqlite3_db_config(database.getHandle(), SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, is_small ? 1 : 0,
                    nullptr);
}

void require_schema(const std::optional<std::string>& made_by, const std::string& database) {
  if (!made_by) throw IndexError("the index '" + database + "' is empty" + HOW_TO_MAKE_ONE);
  if (made_by->starts_with(maker_of_schema())) return;
  throw IndexError("the index '" + database +
                   "' was made by another version of the tool; `treesitter-engine index` makes it "
                   "anew");
}

SQLite::Database open_to_ask(const Place& place, const Poll& poll) {
  struct stat status {};
  if (::stat(place.database.c_str(), &status) != 0 && errno == ENOENT) {
    throw IndexError("there is no index of '" + place.root + "', as '" + place.database +
                     "' would be" + HOW_TO_MAKE_ONE);
  }
  const off_t size = size_of_file(place.database);
  SQLite::Database database = open_to_read(place.database, &poll);
  require_ours(database, size);
  database.exec("PRAGMA trusted_schema = OFF");
  require_schema(meta(database, "made_by"), place.database);
  return database;
}

SQLite::Database open_to_read(const std::string& database, const Poll* poll) {
  SQLite::Database opened(database, SQLite::OPEN_READONLY | SQLite::OPEN_NOMUTEX, BUSY_TIMEOUT);
  if (poll == nullptr || !*poll) return opened;
  void* const asked = const_cast<Poll*>(poll);
  sqlite3_progress_handler(opened.getHandle(), STEPS_PER_POLL, should_end, asked);
  sqlite3_busy_handler(opened.getHandle(), should_wait, asked);
  return opened;
}

std::string explanation(const SQLite::Exception& error, const std::string& database,
                        const std::string& what_for) {
  const std::string name = "'" + database + "'";
  const std::string words = std::string(" (") + error.what() + ")";
  switch (error.getErrorCode()) {
    case SQLITE_FULL:
      return "there is no room to write the index " + name + words;
    case SQLITE_CORRUPT:
    case SQLITE_NOTADB:
      return "the index " + name + " is damaged; remove it, and it will be made anew" + words;
    case SQLITE_READONLY:
    case SQLITE_CANTOPEN:
    case SQLITE_PERM:
      return "the index " + name + " cannot be " + what_for + words;
    case SQLITE_BUSY:
    case SQLITE_LOCKED:
      return "the index " + name + " is in use by another program" + words;
    default:
      return "the index " + name + " cannot be used" + words;
  }
}

}  // namespace repository
