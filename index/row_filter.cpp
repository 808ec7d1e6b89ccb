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

struct Pattern {
  std::string_view text;      // without "./" or "/" in front, or "/" behind
  bool is_from_root = false;  // otherwise it may stand at any depth
};

Pattern pattern_of(std::string_view glob) {
  while (glob.ends_with('/')) glob.remove_suffix(1);
  const bool is_from_root = glob.find('/') != std::string_view::npos;
  if (glob.starts_with("./")) glob.remove_prefix(2);
  if (glob.starts_with('/')) glob.remove_prefix(1);
  return {glob, is_from_root};
}

// The text with which every path begins that the glob names; may be empty.
std::string fixed_beginning(std::string_view glob) {
  const Pattern pattern = pattern_of(glob);
  if (!pattern.is_from_root) return "";
  return std::string(pattern.text.substr(0, pattern.text.find_first_of("*?[\\")));
}

// The least text behind all that begin with this one; empty when there is none, as for the empty
// text.
std::string end_of(std::string text) {
  while (text.ends_with('\xFF')) text.pop_back();
  if (!text.empty()) ++text.back();
  return text;
}

}  // namespace

bool is_in(std::string_view path, std::string_view glob) {
  const Pattern pattern = pattern_of(glob);
  for (std::size_t begin = 0, end = 0; end < path.size(); begin = end + 1) {
    end = std::min(path.find('/', begin), path.size());
    const std::size_t start = pattern.is_from_root ? 0 : begin;
    if (walk::wildmatch(pattern.text, path.substr(start, end - start), false)) return true;
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
