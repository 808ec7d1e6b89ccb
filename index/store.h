// The writer of an index: what became of each file, in batches of one transaction each.
//
// A killed run loses the batch under way and nothing else. What a batch no longer uses of names and
// scopes goes with it, so that an index is always what a fresh one would be.
//
// Cost: for each symbol and each distinct reference some ten microseconds; memory: SQLite's cache,
// the bounded one of names, and what one batch has released.
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

// A file as the index is to have it.
struct StoredFile {
  std::string path;
  FileState state;
  std::optional<std::string> language;  // none for what is binary
  std::string hash;                     // empty for none
  std::vector<std::string> errors;
};

class Store {
 public:
  explicit Store(SQLite::Database& database);

  // `id`: of its row, 0 for none.
  void put(std::int64_t id, const StoredFile& file, const PackedFile& packed);
  // The row is as before but for what it says of the file itself: what could not be read keeps its
  // symbols.
  void put_head(std::int64_t id, const StoredFile& file);
  // It holds what it held.
  void touch(std::int64_t id, const FileState& state);
  void remove(std::int64_t id);

  // The row of that path, if there is one.
  std::optional<FileRow> find(const std::string& path);

  void commit();
  // To be called now and then: ends the batch when it has lasted, or grown, long enough.
  void commit_if_due();
  // Ends the run: all is committed, and the index complete.
  void finish();
  // Whether the last run was ended so, and this one has not written.
  bool is_complete();

  // Each error text of the index, in the order of the paths; gives how many files have any. Those
  // larger than `max_size` are counted in `large`.
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
