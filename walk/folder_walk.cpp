// See folder_walk.h.
#include "walk/folder_walk.h"

#include <algorithm>
#include <cerrno>
#include <string_view>
#include <utility>

#include "engines/languages/languages.h"

namespace walk {

LeftOut& LeftOut::operator+=(const LeftOut& other) {
  hidden += other.hidden;
  links += other.links;
  unknown += other.unknown;
  return *this;
}

FolderWalk::FolderWalk(const std::string& folder) {
  OpenFolder opened = OpenFolder::at_path(folder);
  if (!opened.is_open()) {
    _fault = Found{folder, errno};
    return;
  }
  _path = folder.ends_with('/') ? folder : folder + '/';
  push(std::move(opened));
}

bool FolderWalk::keeps(const char* name, OpenFolder::Kind kind) {
  if (name[0] == '.') {
    ++_left_out.hidden;
  } else if (kind == OpenFolder::Kind::link) {
    ++_left_out.links;
  } else if (kind == OpenFolder::Kind::file && !engines::languages::detect_language(name)) {
    ++_left_out.unknown;
  } else {
    return true;
  }
  return false;
}

// Lists the folder that _path names.
void FolderWalk::push(OpenFolder folder) {
  Level level{_path.size(), std::move(folder), {}};
  const int error =
      level.folder.for_each([&](const char* name, OpenFolder::Kind kind, int entry_error) {
        if (entry_error == ENOENT || !keeps(name, kind)) return;  // gone since it was listed
        Entry entry{name, entry_error};
        if (kind == OpenFolder::Kind::folder) entry.name += '/';
        // Whoever opens it will see whether it is a file.
        if (engines::languages::detect_language(name)) entry.error = 0;
        level.entries.push_back(std::move(entry));
      });
  if (error != 0)
    _fault = Found{_path.substr(0, std::max<std::size_t>(1, _path.size() - 1)), error};
  std::sort(level.entries.begin(), level.entries.end(),
            [](const Entry& one, const Entry& other) { return one.name > other.name; });
  _levels.push_back(std::move(level));
  if (_levels.size() > OPEN_FOLDERS) _levels[_levels.size() - 1 - OPEN_FOLDERS].folder.close();
}

// Goes back to the parent, which may have been moved: then the child has another `..` now.
void FolderWalk::pop() {
  const OpenFolder child = std::move(_levels.back().folder);
  _levels.pop_back();
  if (_levels.empty()) return;
  Level& parent = _levels.back();
  _path.resize(parent.path_size);
  if (parent.folder.is_open() || !child.is_open()) return;
  OpenFolder again = OpenFolder::in(child, "..");
  if (again.is_open() && again.is(parent.folder)) parent.folder = std::move(again);
}

// Gives an errno, 0 when the current folder is open. One that the way back has not found may still
// be where its path says.
int FolderWalk::require_open() {
  OpenFolder& folder = _levels.back().folder;
  if (folder.is_open()) return 0;
  OpenFolder again = OpenFolder::at_path(_path);
  if (!again.is_open()) return errno;
  if (!again.is(folder)) return ESTALE;
  folder = std::move(again);
  return 0;
}

void FolderWalk::close_all_but_last() {
  for (Level& level : _levels) {
    if (&level != &_levels.back()) level.folder.close();
  }
}

// Gives what cannot be entered.
std::optional<Found> FolderWalk::enter(const std::string& name) {
  if (const int error = require_open(); error != 0) return Found{_path + name, error};
  const OpenFolder& parent = _levels.back().folder;
  OpenFolder folder = OpenFolder::in(parent, name);
  if (!folder.is_open() && (errno == EMFILE || errno == ENFILE)) {
    // Others need descriptors too; the walk can do with two.
    close_all_but_last();
    folder = OpenFolder::in(parent, name);
  }
  if (!folder.is_open()) return Found{_path + name, errno};
  _path.append(name).append(1, '/');
  push(std::move(folder));
  return std::nullopt;
}

std::optional<Found> FolderWalk::next() {
  for (;;) {
    if (_fault) return std::exchange(_fault, std::nullopt);
    if (_levels.empty()) return std::nullopt;
    auto& entries = _levels.back().entries;
    if (entries.empty()) {
      pop();
      continue;
    }
    Entry entry = std::move(entries.back());
    entries.pop_back();
    if (entry.error != 0) return Found{_path + entry.name, entry.error};
    if (!entry.name.ends_with('/')) {
      _last_name = std::move(entry.name);
      return Found{_path + _last_name};
    }
    entry.name.pop_back();
    if (auto fault = enter(entry.name)) return fault;
  }
}

int FolderWalk::open_last() {
  if (const int error = _levels.empty() ? ESTALE : require_open(); error != 0) {
    errno = error;
    return -1;
  }
  return _levels.back().folder.open_file(_last_name);
}

}  // namespace walk
