// See path_filter.h.
#include "walk/path_filter.h"

#include <algorithm>
#include <utility>

#include "engines/languages/languages.h"

namespace walk {

PathFilter::PathFilter(WalkOptions options)
    : _options(std::move(options)), _globs(IgnoreRules::of_patterns(_options.exclude)) {}

bool PathFilter::takes(std::string_view path) {
  const std::size_t slash = path.rfind('/');
  const std::size_t begin = slash == path.npos ? 0 : slash + 1;
  const auto language = engines::languages::detect_language(path.substr(begin));
  if (!language) return false;
  const auto& types = _options.types;
  if (!types.empty() && std::find(types.begin(), types.end(), *language) == types.end()) {
    return false;
  }
  return takes_folder(path.substr(0, begin == 0 ? 0 : slash)) && takes_name(path, begin, false);
}

// From the top, since nothing brings back what lies in a folder that is left out.
bool PathFilter::takes_folder(std::string_view way) {
  if (way == _way) return _takes_way;
  _way = way;
  _takes_way = true;
  for (std::size_t begin = 0; _takes_way && begin < way.size();) {
    const std::size_t end = std::min(way.find('/', begin), way.size());
    _takes_way = takes_name(way.substr(0, end), begin, true);
    begin = end + 1;
  }
  return _takes_way;
}

bool PathFilter::takes_name(std::string_view path, std::size_t begin, bool is_folder) const {
  const std::string_view name = path.substr(begin);
  if (name.starts_with('.') && (!_options.hidden || name == ".git")) return false;
  return _globs.verdict(path, is_folder) != IgnoreRules::Verdict::ignored;
}

}  // namespace walk
