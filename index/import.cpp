// See import.h.
#include "index/import.h"

#include <algorithm>
#include <filesystem>
#include <utility>

#include "engines/languages/languages.h"
#include "index/catalogue.h"
#include "index/database.h"
#include "index/file_hash.h"
#include "index/index_error.h"
#include "index/packed_file.h"
#include "index/place.h"
#include "index/schema.h"
#include "index/store.h"
#include "index/write_lock.h"

namespace repository {
namespace {

// The path from the root, without "." and "..": an index knows each file by one spelling.
std::string path_inside(const std::string& path, const std::string& root) {
  const auto whole = (std::filesystem::path(root) / path).lexically_normal();
  std::string inside = whole.lexically_relative(root).native();
  if (inside.empty() || inside == "." || inside == ".." || inside.starts_with("../")) {
    throw IndexError("'" + path + "' does not lie in '" + root + "'");
  }
  return inside;
}

// A kind is stored as its number, and an unknown one has none.
void require_our_kinds(const ImportedRecord& record) {
  for (const auto& reference : record.result.references) {
    if (std::find(REFERENCE_KINDS.begin(), REFERENCE_KINDS.end(), reference.kind) ==
        REFERENCE_KINDS.end()) {
      throw IndexError("'" + record.path + "' has a reference of the unknown kind '" +
                       reference.kind + "'");
    }
  }
}

// One index while it is written.
class Import {
 public:
  Import(const Place& place, engines::treesitter::Rules rules, Tables tables)
      : _lock(place.database),
        _opened(open_to_write(place, rules, tables)),
        _store(_opened.connection) {}

  void put(const std::string& path, ImportedRecord& record) {
    require_our_kinds(record);
    StoredFile file;
    file.path = path;
    file.language = engines::languages::detect_language(path).value_or("");
    file.hash = hash_bytes(record.result.content_hash);
    const PackedFile packed = pack(record.result);  // may add an error
    file.errors = std::move(record.result.errors);
    const auto row = _store.find(path);  // a list may name a file twice
    _store.put(row ? row->id : 0, file, packed);
    _store.commit_if_due();
  }

  // Ends the index. Tells the listener the errors of all files; gives how many files have one.
  std::size_t finish(const UpdateListener& listener) {
    _store.finish();
    keep_small_log(_opened.connection);
    std::size_t large = 0;
    return _store.for_each_error(listener.error, FileRules().max_size, large);
  }

 private:
  const WriteLock _lock;
  OpenedDatabase _opened;
  Store _store;
};

// Gives what `work` gives; an error of SQLite's becomes an IndexError.
template <typename Work>
auto explained(const std::string& database, Work work) {
  try {
    return work();
  } catch (const SQLite::Exception& error) {
    throw IndexError(explanation(error, database));
  }
}

// The indexes of a catalogue while they are written; one is open at a time.
class CatalogueImport {
 public:
  CatalogueImport(const UpdateOptions& options, const std::string& folder,
                  const UpdateListener& listener)
      : _root(find_place(options.path, std::nullopt).root),
        _rules(options.rules),
        _listener(listener),
        _writer(folder, _root) {}

  void put(ImportedRecord& record) {
    const std::string path = path_inside(record.path, _root);
    const std::size_t slash = path.find('/');
    turn_to(slash == std::string::npos ? "" : path.substr(0, slash));
    explained(_database, [&] { _import->put(path, record); });
  }

  // Gives how many files have errors.
  std::size_t finish() {
    leave();
    _writer.finish();
    return _failed;
  }

 private:
  void turn_to(const std::string& repository) {
    if (_import && repository == _repository) return;
    leave();
    const bool is_new = _writer.add(repository);
    _repository = repository;
    _database = _writer.database(repository);
    explained(_database, [&] {
      _import.emplace(Place{_root, _database, false}, _rules,
                      is_new ? Tables::empty : Tables::as_they_are);
    });
  }

  void leave() {
    if (!_import) return;
    _failed += explained(_database, [this] { return _import->finish(_listener); });
    _import.reset();
  }

  const std::string _root;
  const engines::treesitter::Rules _rules;
  const UpdateListener& _listener;
  CatalogueWriter _writer;
  std::string _repository;
  std::string _database;
  std::optional<Import> _import;
  std::size_t _failed = 0;
};

template <typename Target>
void put_all(const NextRecord& next, const UpdateListener& listener, UpdateCounts& counts,
             Target put) {
  while (auto record = next()) {
    put(*record);
    ++counts.changed;
    listener.progress(counts, std::nullopt);
  }
}

}  // namespace

UpdateCounts import_records(const UpdateOptions& options, const UpdateListener& listener,
                            const NextRecord& next) {
  const Place place = find_place(options.path, options.database);
  make_folder(place);
  return explained(place.database, [&] {
    UpdateCounts counts;
    Import import(place, options.rules, Tables::empty);
    put_all(next, listener, counts, [&](ImportedRecord& record) {
      import.put(path_inside(record.path, place.root), record);
    });
    counts.failed = import.finish(listener);
    return counts;
  });
}

UpdateCounts import_catalogue(const UpdateOptions& options, const std::string& folder,
                              const UpdateListener& listener, const NextRecord& next) {
  UpdateCounts counts;
  CatalogueImport import(options, folder, listener);
  put_all(next, listener, counts, [&](ImportedRecord& record) { import.put(record); });
  counts.failed = import.finish();
  return counts;
}

}  // namespace repository
