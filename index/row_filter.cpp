// See row_filter.h.
#include "index/row_filter.h"

#include <algorithm>

#include "index/index_error.h"
#include "index/statements.h"
#include "models/symbol.h"
#include "walk/wildmatch.h"

namespace repository {

namespace {

constexpr std::size_t MOST_FEW = 1000;

// What every path begins with that a glob names; empty when it may stand anywhere.
std::string fixed_beginning(std::string_view glob) {
  while (glob.ends_with('/')) glob.remove_suffix(1);
  if (glob.find('/') == std::string_view::npos) return "";
  if (glob.starts_with("./")) glob.remove_prefix(2);
  if (glob.starts_with('/')) glob.remove_prefix(1);
  return std::string(glob.substr(0, glob.find_first_of("*?[\\")));
}

// Behind every text that begins so; empty when there is none, as for the empty text.
std::string end_of(std::string text) {
  while (text.ends_with('\xFF')) text.pop_back();
  if (!text.empty()) ++text.back();
  return text;
}

}  // namespace

bool is_in(std::string_view path, std::string_view glob) {
  while (glob.ends_with('/')) glob.remove_suffix(1);
  const bool has_slash = glob.find('/') != std::string_view::npos;
  if (glob.starts_with("./")) glob.remove_prefix(2);
  if (glob.starts_with('/')) glob.remove_prefix(1);
  for (std::size_t begin = 0, end = 0; end < path.size(); begin = end + 1) {
    end = std::min(path.find('/', begin), path.size());
    const std::string_view part = has_slash ? path.substr(0, end) : path.substr(begin, end - begin);
    if (walk::wildmatch(glob, part, false)) return true;
  }
  return false;
}

RowFilter::RowFilter(Reader& reader, const Filter& filter) : _reader(reader), _filter(filter) {
  if (!filter.kind) return;
  const auto kind = engines::models::kind_from_text(*filter.kind);
  if (!kind) throw QuestionError("'" + *filter.kind + "' is no kind of symbols");
  _kind = static_cast<std::uint8_t>(*kind);
}

bool RowFilter::takes_file(std::int64_t file) {
  if (!_filter.language && !_filter.glob) return true;
  const auto [found, is_new] = _files.try_emplace(file, false);
  if (is_new) {
    const Reader::File& row = _reader.file(file);
    found->second = (!_filter.language || row.language == *_filter.language) &&
                    (!_filter.glob || is_in(row.path, *_filter.glob));
  }
  return found->second;
}

const std::optional<std::vector<std::int64_t>>& RowFilter::few_files() {
  if (_is_few_known || (!_filter.language && !_filter.glob)) return _few;
  _is_few_known = true;
  const std::string begin = fixed_beginning(_filter.glob.value_or(""));
  const std::string end = end_of(begin);
  std::string question = "SELECT id, path";
  if (_filter.language) question += ", language";
  question += " FROM file";
  if (!end.empty()) question += " WHERE path >= ? AND path < ?";
  SQLite::Statement paths(_reader.connection(), question);
  if (!end.empty()) {
    bind_bytes(paths, 1, begin);
    bind_bytes(paths, 2, end);
  }
  std::vector<std::int64_t> files;
  while (files.size() <= MOST_FEW && paths.executeStep()) {
    if (_filter.glob && !is_in(bytes_of(paths.getColumn(1)), *_filter.glob)) continue;
    if (_filter.language && bytes_of(paths.getColumn(2)) != *_filter.language) continue;
    files.push_back(paths.getColumn(0).getInt64());
  }
  std::sort(files.begin(), files.end());
  if (files.size() <= MOST_FEW) _few = std::move(files);
  return _few;
}

}  // namespace repository
