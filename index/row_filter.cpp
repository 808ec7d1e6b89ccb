// See row_filter.h.
#include "index/row_filter.h"

#include <algorithm>

#include "index/index_error.h"
#include "models/symbol.h"
#include "walk/wildmatch.h"

namespace repository {

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

}  // namespace repository
