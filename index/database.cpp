// See database.h.
#include "index/database.h"

#include <fcntl.h>
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

namespace repository {
namespace {

// As SQLite documents its files: the magic is at their beginning, the application's number behind.
constexpr std::string_view MAGIC("SQLite format 3\0", 16);
constexpr std::size_t APPLICATION_ID_PLACE = 68;
constexpr std::size_t HEADER = 100;

constexpr int BUSY_TIMEOUT = 10'000;  // ms; for readers of other kinds than ours

// Of the write-ahead log, in pages: as much is written twice at a time.
constexpr const char* SETTINGS = R"(
PRAGMA trusted_schema = OFF;
PRAGMA synchronous = NORMAL;
PRAGMA wal_autocheckpoint = 4000;
PRAGMA cache_size = -65536;
PRAGMA temp_store = MEMORY;
)";

// Throws when the file is there, is not empty, and no index.
void require_ours(const std::string& path) {
  const int file = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
  if (file < 0 && errno == ENOENT) return;
  if (file < 0) throw_system_error("open", path);
  struct stat status {};
  std::array<char, HEADER> bytes{};
  const bool is_file = ::fstat(file, &status) == 0 && S_ISREG(status.st_mode);
  const ssize_t size = is_file ? ::pread(file, bytes.data(), bytes.size(), 0) : 0;
  const int error = errno;
  ::close(file);
  if (!is_file) throw IndexError("'" + path + "' is no regular file");
  if (size < 0) {
    errno = error;
    throw_system_error("read", path);
  }
  if (size == 0) return;
  const std::string_view header(bytes.data(), bytes.size());
  if (static_cast<std::size_t>(size) < HEADER || !header.starts_with(MAGIC)) {
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

// Tables that search keep others, which go with them.
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

// The number first: from then on a killed run leaves what is known as ours.
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

OpenedDatabase open_to_write(const Place& place, engines::treesitter::Rules rules) {
  require_ours(place.database);
  OpenedDatabase opened{
      SQLite::Database(place.database,
                       SQLite::OPEN_READWRITE | SQLite::OPEN_CREATE | SQLite::OPEN_NOMUTEX,
                       BUSY_TIMEOUT),
      false};
  SQLite::Database& database = opened.connection;
  if (sqlite3_db_readonly(database.getHandle(), "main") == 1) {
    errno = EACCES;
    throw_system_error("write", place.database);
  }
  database.exec(SETTINGS);
  begin_file(database);
  require_root(database, place);
  const std::string us = maker(rules);
  const auto made_by = meta(database, "made_by");
  if (made_by != us) {
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

SQLite::Database open_to_ask(const Place& place) {
  const std::string how = "; `treesitter-engine index` makes one";
  struct stat status {};
  if (::stat(place.database.c_str(), &status) != 0 && errno == ENOENT) {
    throw IndexError("there is no index of '" + place.root + "', as '" + place.database +
                     "' would be" + how);
  }
  require_ours(place.database);
  SQLite::Database database = open_to_read(place.database);
  database.exec("PRAGMA trusted_schema = OFF");
  const auto made_by = meta(database, "made_by");
  if (!made_by) throw IndexError("the index '" + place.database + "' is empty" + how);
  if (!made_by->starts_with(maker_of_schema())) {
    throw IndexError("the index '" + place.database +
                     "' was made by another version of the tool; `treesitter-engine index` makes "
                     "it anew");
  }
  return database;
}

SQLite::Database open_to_read(const std::string& database) {
  return SQLite::Database(database, SQLite::OPEN_READONLY | SQLite::OPEN_NOMUTEX, BUSY_TIMEOUT);
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
