// See import.h.
#include "index/import.h"

#include <algorithm>
#include <filesystem>
#include <utility>

#include "engines/languages/languages.h"
#include "index/database.h"
#include "index/file_rules.h"
#include "index/index_error.h"
#include "index/packed_file.h"
#include "index/place.h"
#include "index/schema.h"
#include "index/store.h"
#include "index/write_lock.h"

namespace repository {
namespace {

// From the root, in the one spelling that an index has of a path.
std::string path_inside(const std::string& path, const std::string& root) {
  const auto whole = (std::filesystem::path(root) / path).lexically_normal();
  const std::string inside = whole.lexically_relative(root).native();
  if (inside.empty() || inside == "." || inside == ".." || inside.starts_with("../")) {
    throw IndexError("'" + path + "' does not lie in '" + root + "'");
  }
  return inside;
}

StoredFile stored_file(const ImportedRecord& record, const std::string& root) {
  StoredFile file;
  file.path = path_inside(record.path, root);
  file.language = engines::languages::detect_language(file.path).value_or("");
  file.hash = digest_bytes(record.result.content_hash);
  return file;
}

// A row of another kind would stand for one of ours.
void require_our_kinds(const ImportedRecord& record) {
  for (const auto& reference : record.result.references) {
    if (std::find(REFERENCE_KINDS.begin(), REFERENCE_KINDS.end(), reference.kind) ==
        REFERENCE_KINDS.end()) {
      throw IndexError("'" + record.path + "' has a reference of the unknown kind '" +
                       reference.kind + "'");
    }
  }
}

UpdateCounts import_into(const Place& place, const UpdateOptions& options,
                         const UpdateListener& listener,
                         const std::function<std::optional<ImportedRecord>()>& next) {
  make_folder(place);
  const WriteLock lock(place.database);
  auto [database, is_made_anew] = open_to_write(place, options.rules, Tables::empty);
  if (is_made_anew) listener.note("the index is made anew");
  Store store(database);
  UpdateCounts counts;
  while (auto record = next()) {
    require_our_kinds(*record);
    StoredFile file = stored_file(*record, place.root);
    const PackedFile packed = pack(record->result);  // which may add an error
    file.errors = std::move(record->result.errors);
    const auto row = store.find(file.path);  // a list may name a file twice
    store.put(row ? row->id : 0, file, packed);
    counts.changed += row ? 0 : 1;
    store.commit_if_due();
    listener.progress(counts, std::nullopt);
  }
  store.finish();
  keep_small_log(database);
  counts.failed = store.for_each_error(listener.error, read_file_rules(database).max_size, counts.large);
  return counts;
}

}  // namespace

UpdateCounts import_records(const UpdateOptions& options, const UpdateListener& listener,
                            const std::function<std::optional<ImportedRecord>()>& next) {
  const Place place = find_place(options.path, options.database);
  try {
    return import_into(place, options, listener, next);
  } catch (const SQLite::Exception& error) {
    throw IndexError(explanation(error, place.database));
  }
}

}  // namespace repository
