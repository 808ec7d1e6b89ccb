// See folder_walk.h.
#include "walk/folder_walk.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <iterator>
#include <string_view>
#include <utility>

#include "engines/languages/languages.h"
#include "walk/repository.h"

namespace walk {
namespace {

bool is_out_of_descriptors(int error) { return error == EMFILE || error == ENFILE; }

}  // namespace

FolderWalk::FolderWalk(const std::string& folder, WalkOptions options, Selection selection,
                       Entering entering)
    : _options(std::move(options)),
      _selection(std::move(selection)),
      _entering(std::move(entering)),
      _rules(_options) {
  OpenFolder opened = OpenFolder::at_path(folder);
  if (!opened.is_open()) {
    _faults.push_back({folder, errno});
    return;
  }
  _path = folder.ends_with('/') ? folder : folder + '/';
  _prefix_size = _path.size();
  push(std::move(opened), "");
}

void FolderWalk::add(Level& level, const char* name, OpenFolder::Kind kind, int error) {
  if (error == ENOENT) return;  // gone since it was listed
  if (!_options.takes_name(name)) {
    ++_left_out.hidden;
  } else if (kind == OpenFolder::Kind::link) {
    ++_left_out.links;
  } else if (kind == OpenFolder::Kind::folder) {
    level.entries.push_back({std::string(name) + '/', 0});
  } else if (const auto language = engines::languages::detect_language(name)) {
    if (_options.takes_language(*language)) {
      level.entries.push_back({name, 0});  // a kind that is unknown shows when it is opened
    } else {
      ++_left_out.other_type;
    }
  } else if (kind == OpenFolder::Kind::unknown) {
    level.entries.push_back({name, error});
  } else {
    ++_left_out.unknown;
  }
}

// Returns 0, or the errno of what ended the list early.
int FolderWalk::list(Level& level, RuleStack::Seen& seen) {
  return level.folder.for_each([&](const char* name, OpenFolder::Kind kind, int error) {
    seen.note(name);
    add(level, name, kind, error);
  });
}

// In place of list(), for a folder of which only some entries are selected.
void FolderWalk::look_at_selected(Level& level, RuleStack::Seen& seen) {
  for (const char* const name : RuleStack::NAMES) {
    int error = 0;
    (void)level.folder.kind(name, error);
    if (error != ENOENT) seen.note(name);
  }
  const std::size_t size = _path.size() - _prefix_size;
  std::string_view last;
  for (const std::string& way : _selection.at(std::string_view(_path).substr(_prefix_size))) {
    const std::string_view name = std::string_view(way).substr(size, way.find('/', size) - size);
    if (name == last) continue;
    last = name;
    const std::string text(name);
    int error = 0;
    const OpenFolder::Kind kind = level.folder.kind(text.c_str(), error);
    add(level, text.c_str(), kind, error);
  }
}

// Enters the folder that _path names: reads its entries and its rules.
void FolderWalk::push(OpenFolder folder, const std::string& name) {
  if (_entering) _entering(_path, folder.descriptor());
  const std::string_view way = std::string_view(_path).substr(_prefix_size);
  const auto selected = _selection.at(way);
  const bool is_whole = (!_levels.empty() && _levels.back().is_whole) ||
                        (!selected.empty() && selected.front() == way);
  Level level{_path.size(), std::move(folder), is_whole, {}};
  RuleStack::Seen seen;
  int error = 0;
  if (is_whole) {
    error = list(level, seen);
  } else {
    look_at_selected(level, seen);
  }
  if (error != 0)
    _faults.push_back({_path.substr(0, std::max<std::size_t>(1, _path.size() - 1)), error});
  _levels.push_back(std::move(level));
  if (_levels.size() > OPEN_FOLDERS) _levels[_levels.size() - 1 - OPEN_FOLDERS].folder.set_aside();
  follow_rules(name, seen);
  auto& entries = _levels.back().entries;
  std::erase_if(entries, [this](const Entry& entry) { return is_left_out(entry); });
  std::sort(entries.begin(), entries.end(),
            [](const Entry& one, const Entry& other) { return one.name > other.name; });
}

// Reads the rules of the folder pushed last; a second time when descriptors were lacking and the
// walk could close some of its own.
void FolderWalk::follow_rules(const std::string& name, RuleStack::Seen seen) {
  const int folder = _levels.back().folder.descriptor();
  const auto enter = [&] {
    std::vector<Found> faults;
    if (_levels.size() == 1) {
      _rules.enter_first(folder, _path, seen, faults);
    } else {
      _rules.enter(name, folder, _path, seen, faults);
    }
    return faults;
  };
  std::vector<Found> faults = enter();
  const bool wants_descriptors = std::any_of(faults.begin(), faults.end(), [](const Found& fault) {
    return is_out_of_descriptors(fault.error);
  });
  if (wants_descriptors && _levels.size() > 1) {
    close_all_but_last();
    _rules.leave();
    faults = enter();
  }
  std::move(faults.begin(), faults.end(), std::back_inserter(_faults));
}

bool FolderWalk::is_left_out(const Entry& entry) {
  std::string_view name = entry.name;
  const bool is_folder = name.ends_with('/');
  if (is_folder) name.remove_suffix(1);
  const auto verdict = _rules.judge(name, is_folder);
  _left_out.excluded += verdict == RuleStack::Verdict::excluded ? 1 : 0;
  _left_out.ignored += verdict == RuleStack::Verdict::ignored ? 1 : 0;
  return verdict != RuleStack::Verdict::kept && verdict != RuleStack::Verdict::tracked;
}

// Goes back to the parent. If the child was moved meanwhile, its `..` is another folder, and the
// parent stays closed.
void FolderWalk::pop() {
  const OpenFolder child = std::move(_levels.back().folder);
  _levels.pop_back();
  _rules.leave();
  if (_levels.empty()) return;
  Level& parent = _levels.back();
  _path.resize(parent.path_size);
  if (parent.folder.is_open() || !child.is_open()) return;
  OpenFolder again = OpenFolder::in(child, "..");
  if (again.is_open() && again.is(parent.folder)) parent.folder = std::move(again);
}

// Opens the current folder again if it is closed. Returns 0 or an errno. Where pop() did not find
// it through `..`, it may still be found by its path.
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
    if (&level != &_levels.back()) level.folder.set_aside();
  }
}

// Enters a folder below the current one. Returns it as a fault when that fails.
std::optional<Found> FolderWalk::enter(const std::string& name) {
  if (const int error = require_open(); error != 0) return Found{_path + name, error};
  const OpenFolder& parent = _levels.back().folder;
  OpenFolder folder = OpenFolder::in(parent, name);
  if (!folder.is_open() && is_out_of_descriptors(errno)) {
    // Other parts of the process need descriptors too, and the walk can work with two.
    close_all_but_last();
    folder = OpenFolder::in(parent, name);
  }
  if (!folder.is_open()) return Found{_path + name, errno};
  _path.append(name).append(1, '/');
  push(std::move(folder), name);
  return std::nullopt;
}

std::optional<Found> FolderWalk::next() {
  for (;;) {
    if (!_faults.empty()) {
      Found fault = std::move(_faults.front());
      _faults.erase(_faults.begin());
      return fault;
    }
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

int FolderWalk::stat_last(struct stat& status) {
  if (const int error = _levels.empty() ? ESTALE : require_open(); error != 0) return error;
  const int folder = _levels.back().folder.descriptor();
  return ::fstatat(folder, _last_name.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0 ? 0 : errno;
}

}  // namespace walk
