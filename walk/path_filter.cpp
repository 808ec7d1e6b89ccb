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
  if (!language || !_options.takes_language(*language)) return false;
  return takes_folder(path.substr(0, begin == 0 ? 0 : slash)) && takes_entry(path, begin, false);
}

// From the top down: below a folder that is left out no pattern can include anything again.
bool PathFilter::takes_folder(std::string_view folder) {
  if (folder == _folder) return _takes_folder;
  _folder = folder;
  _takes_folder = true;
  for (std::size_t begin = 0; _takes_folder && begin < folder.size();) {
    const std::size_t end = std::min(folder.find('/', begin), folder.size());
    _takes_folder = takes_entry(folder.substr(0, end), begin, true);
    begin = end + 1;
  }
  return _takes_folder;
}

bool PathFilter::takes_entry(std::string_view path, std::size_t name_begin, bool is_folder) const {
  return _options.takes_name(path.substr(name_begin)) &&
         _globs.verdict(path, is_folder) != IgnoreRules::Verdict::ignored;
}

}  // namespace walk
