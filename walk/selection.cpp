// See selection.h.
#include "walk/selection.h"

#include <algorithm>
#include <utility>

namespace walk {

Selection::Selection(std::vector<std::string> paths) : _ways(std::move(paths)) {
  for (std::string& way : _ways) {
    if (!way.empty()) way += '/';
  }
  std::sort(_ways.begin(), _ways.end());
  const auto is_in = [](const std::string& above, const std::string& way) {
    return way.starts_with(above);
  };
  _ways.erase(std::unique(_ways.begin(), _ways.end(), is_in), _ways.end());
}

std::span<const std::string> Selection::at(std::string_view way) const {
  const auto begin = std::lower_bound(_ways.begin(), _ways.end(), way);
  const auto end = std::partition_point(
      begin, _ways.end(), [&](const std::string& each) { return each.starts_with(way); });
  return {begin, end};
}

}  // namespace walk
