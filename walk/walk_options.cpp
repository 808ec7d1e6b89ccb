// See walk_options.h.
#include "walk/walk_options.h"

#include <algorithm>

#include "walk/repository.h"

namespace walk {

bool WalkOptions::takes_name(std::string_view name) const {
  return !name.starts_with('.') || (hidden && name != GIT_FOLDER);
}

bool WalkOptions::takes_language(std::string_view language) const {
  return types.empty() || std::find(types.begin(), types.end(), language) != types.end();
}

}  // namespace walk
