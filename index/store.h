// Writes what became of each file into an index, in batches of one transaction each.
//
// A killed run loses the batch under way and nothing else. Each batch removes the names and scopes
// that it has left without a use, so that after it the index is what a fresh one would be.
//
// Cost: some ten microseconds for each symbol and each row of `reference`; memory for SQLite's
// cache, the bounded caches of names, and what one batch has released.
//
// Tested by tests/index_command_test.py.
#pragma once

#include <SQLiteCpp/SQLiteCpp.h>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "index/file_rows.h"
#include "index/names.h"
#include "index/packed_file.h"

namespace repository {

// What the index is to say of a file itself.
struct StoredFile {
  std::string path;  // from the root
  FileState state;
  std::optional<std::string> language;  // none for a binary file
  std::string hash;                     // its 32 bytes; empty for none
  std::vector<std::string> errors;
};

class Store {
 public:
  explicit Store(SQLite::Database& database);

  // Stores all of a file. `id`: of its row, 0 when it has none.
  void put(std::int64_t id, const StoredFile& file, const PackedFile& packed);
  // Stores only what is said of the file itself: a file that could not be read keeps its symbols.
  void put_head(std::int64_t id, const StoredFile& file);
  // Stores the new state of a file whose bytes are as before.
  void touch(std::int64_t id, const FileState& state);
  void remove(std::int64_t id);

  // The row of that path, if there is one.
  std::optional<FileRow> find(const std::string& path);

  void commit();
  // To be called now and then: commits a batch of a thousand files, or one that is a second old.
  void commit_if_due();
  // To be called at the end of a run: commits, and marks the index as complete.
  void finish();
  // Whether the last run came to its end, and this one has not written yet.
  bool is_complete();

  // Calls `take` for each error text of the index, in the order of the paths. Gives how many files
  // have one; adds to `large` how many of these have more than `max_size` bytes.
  std::size_t for_each_error(
      const std::function<void(const std::string& path, const std::string& text)>& take,
      std::uint64_t max_size, std::size_t& large);

 private:
  void begin();
  std::int64_t write_row(std::int64_t id, const StoredFile& file);
  void clear(std::int64_t id);
  void clear_symbols(std::int64_t id);
  void clear_references(std::int64_t id);
  void add_symbol(std::int64_t id, const PackedFile::Symbol& symbol,
                  const std::vector<std::int64_t>& names, const std::vector<std::int64_t>& scopes);
  void add_references(std::int64_t file, const PackedFile& packed,
                      const std::vector<std::int64_t>& names);

  SQLite::Database& _database;
  Names _names;
  SQLite::Statement _insert_file;
  SQLite::Statement _update_file;
  SQLite::Statement _touch_file;
  SQLite::Statement _count_symbols;
  SQLite::Statement _delete_file;
  SQLite::Statement _find_file;
  SQLite::Statement _insert_error;
  SQLite::Statement _delete_errors;
  SQLite::Statement _insert_symbol;
  SQLite::Statement _symbols_of;
  SQLite::Statement _delete_symbols;
  SQLite::Statement _insert_symbol_words;
  SQLite::Statement _delete_symbol_words;
  SQLite::Statement _insert_reference;
  SQLite::Statement _delete_reference;
  SQLite::Statement _insert_uses;
  SQLite::Statement _uses_of;
  SQLite::Statement _delete_uses;

  bool _is_in_batch = false;
  bool _has_written = false;
  std::size_t _files_in_batch = 0;
  std::chrono::steady_clock::time_point _batch_start;
};

}  // namespace repository
