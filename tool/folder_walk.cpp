// See folder_walk.h.
#include "tool/folder_walk.h"

#include <algorithm>
#include <filesystem>
#include <functional>
#include <system_error>
#include <utility>

#include "engines/languages/languages.h"
#include "engines/treesitter/treesitter.h"

namespace tool {
namespace {

namespace fs = std::filesystem;

std::string error_text(const std::string& folder, const std::error_code& error) {
  const engines::treesitter::FileReadError fault(error.value(), folder);
  return std::string("Failed to read folder: ") + fault.what();
}

// The name under which an entry is sorted and met; none when it is left out.
std::optional<std::string> entry_name(const fs::directory_entry& entry) {
  std::string name = entry.path().filename().native();
  if (name.starts_with('.')) return std::nullopt;
  std::error_code error;
  const fs::file_type type = entry.symlink_status(error).type();
  if (type == fs::file_type::symlink) return std::nullopt;
  if (type == fs::file_type::directory) return std::move(name) + '/';
  // FIFOs and the like stay: the engine refuses them, and the user learns of it.
  if (!engines::languages::detect_language(name)) return std::nullopt;
  return name;
}

}  // namespace

FolderWalk::FolderWalk(const std::string& folder) { enter(folder); }

void FolderWalk::enter(const std::string& folder) {
  Level level{folder.ends_with('/') ? folder : folder + '/', {}};
  std::error_code error;
  for (fs::directory_iterator entries(level.prefix, error), end; !error && entries != end;
       entries.increment(error)) {
    if (auto name = entry_name(*entries)) level.entries.push_back(*std::move(name));
  }
  if (error) _fault = FoundPath{folder, error_text(folder, error)};
  std::sort(level.entries.begin(), level.entries.end(), std::greater<>());
  _levels.push_back(std::move(level));
}

std::optional<FoundPath> FolderWalk::next() {
  while (!_levels.empty()) {
    if (_fault) return std::exchange(_fault, std::nullopt);
    Level& level = _levels.back();
    if (level.entries.empty()) {
      _levels.pop_back();
      continue;
    }
    std::string path = level.prefix + level.entries.back();
    level.entries.pop_back();
    if (!path.ends_with('/')) return FoundPath{std::move(path), std::nullopt};
    path.pop_back();
    enter(path);
  }
  return std::nullopt;
}

}  // namespace tool
