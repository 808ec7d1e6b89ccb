// See changes.h.
#include "index/changes.h"

#include <sys/stat.h>

#include <cerrno>
#include <climits>
#include <string_view>
#include <utility>

#include "engines/treesitter/treesitter.h"
#include "index/place.h"
#include "index/system_calls.h"

namespace repository {
namespace {

// The folder for which a file of ignore rules holds, "" for the root. Rules that lie elsewhere,
// such as the user's, hold for all.
std::string folder_of_rules(const std::string& path) {
  const std::size_t slash = path.rfind('/');
  const std::string_view name = std::string_view(path).substr(slash + 1);
  if (slash == std::string::npos || (name != ".gitignore" && name != ".ignore")) return "";
  return path.substr(0, slash);
}

}  // namespace

Changes::Changes(Look look, SQLite::Database connection, std::int64_t since)
    : _prefix(with_slash(look.root)),
      _rows(std::move(connection), look.selection),
      _walk(look.root, std::move(look.options), std::move(look.selection),
            std::move(look.entering)),
      _since(since) {}

// Sees to it that _found has what the walk shows next. False at the end of the walk.
bool Changes::advance() {
  if (_found || _has_ended) return _found.has_value();
  _found = _walk.next();
  _has_ended = !_found;
  if (_found && _found->error == 0) _found->path.erase(0, _prefix.size());
  return _found.has_value();
}

std::optional<Change> Changes::next() {
  for (;;) {
    const bool has_found = advance();
    if (has_found && _found->error != 0) return fault();
    const FileRow* const row = _rows.peek();
    if (row == nullptr && !has_found) return std::nullopt;
    const bool is_gone = row != nullptr && (!has_found || row->path < _found->path);
    if (auto change = is_gone ? removal() : seen()) return change;
  }
}

Change Changes::fault() {
  const walk::Found found = *std::exchange(_found, std::nullopt);
  std::string inside = found.path.starts_with(_prefix) ? found.path.substr(_prefix.size()) : "";
  // Without the root nothing can be said of any file.
  if (inside.empty() && !found.is_rules) {
    errno = found.error;
    throw_system_error("read", found.path);
  }
  _blind.insert(found.is_rules ? folder_of_rules(inside) : inside);
  const std::string text =
      std::string(found.is_rules ? "Failed to read ignore rules: " : "Failed to read folder: ") +
      engines::treesitter::FileReadError(found.error, found.path).what();
  if (inside.empty()) inside = found.path;
  return {.kind = Change::Kind::fault, .row = {.path = std::move(inside)}, .fault = text};
}

bool Changes::is_blind(const std::string& path) const {
  if (_blind.empty()) return false;
  if (_blind.contains("") || _blind.contains(path)) return true;
  for (std::size_t slash = path.find('/'); slash != std::string::npos;
       slash = path.find('/', slash + 1)) {
    if (_blind.contains(path.substr(0, slash))) return true;
  }
  return false;
}

// For a row whose file the walk has not shown.
std::optional<Change> Changes::removal() {
  const FileRow row = *_rows.peek();
  _rows.skip();
  if (!is_blind(row.path)) return Change{.kind = Change::Kind::removed, .row = row};
  count_unchanged(row);
  return std::nullopt;
}

// For a file that the walk shows; none when it is as it was.
std::optional<Change> Changes::seen() {
  FileRow row;
  if (const FileRow* const known = _rows.peek(); known != nullptr && known->path == _found->path) {
    row = *known;
  }
  struct stat status {};
  const int error = _walk.stat_last(status);
  if (error == ENOENT) {  // removed meanwhile: its row, if any, is next
    _found.reset();
    return std::nullopt;
  }
  FileState now = error == 0 ? FileState::of(status) : FileState();
  if (row.id != 0) _rows.skip();
  const std::string path = std::exchange(_found, std::nullopt)->path;
  if (error == 0 && row.id != 0 && now == row.state) {
    count_unchanged(row);
    return std::nullopt;
  }
  // The times are kept only if they would show a later change. Whoever reads the file meets other
  // errors again, and reports them.
  if (!now.is_proof(_since)) now.mtime = FileState::UNTRUSTED;
  if (row.id == 0) row.path = path;
  const bool is_long = _prefix.size() + path.size() >= PATH_MAX;
  return Change{
      .kind = Change::Kind::written, .row = std::move(row), .now = now, .is_long = is_long};
}

}  // namespace repository
