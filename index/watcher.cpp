// See watcher.h.
#include "index/watcher.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <fstream>
#include <limits>
#include <utility>
#include <vector>

#include "engines/languages/languages.h"
#include "index/index_error.h"
#include "index/place.h"
#include "index/system_calls.h"
#include "walk/repository.h"
#include "walk/rule_stack.h"

namespace repository {
namespace {

// To save a file, a program writes and closes it, or renames another to its name. Only links and
// empty files are merely created.
constexpr std::uint32_t IN_FOLDERS = IN_CLOSE_WRITE | IN_CREATE | IN_DELETE | IN_MOVED_FROM |
                                     IN_MOVED_TO | IN_ATTRIB | IN_DELETE_SELF | IN_MOVE_SELF |
                                     IN_ONLYDIR | IN_EXCL_UNLINK;
constexpr std::uint32_t IN_GIT =
    IN_CLOSE_WRITE | IN_CREATE | IN_DELETE | IN_MOVED_FROM | IN_MOVED_TO | IN_ONLYDIR;

// With more changed paths than these, everything is looked at.
constexpr std::size_t MOST_CHANGES = 65536;

constexpr std::uint64_t ALL_WALKS = std::numeric_limits<std::uint64_t>::max();

// A setting of inotify's, such as "8192"; a question mark where the system has none.
std::string setting(const char* name) {
  std::ifstream file(std::string("/proc/sys/fs/inotify/") + name);
  std::string value;
  return file >> value ? value : "?";
}

std::string allows(const char* name) {
  return std::string("the system allows ") + setting(name) + " (fs.inotify." + name +
         ", or less for this user): `sysctl fs.inotify." + name + "=";
}

// Without the "/" at the end.
std::string path_of(const std::string& way) {
  return way.substr(0, way.size() - std::min<std::size_t>(1, way.size()));
}

}  // namespace

Watcher::Watcher(const std::string& root)
    : _root(with_slash(root)), _inotify(::inotify_init1(IN_NONBLOCK | IN_CLOEXEC)) {
  if (_inotify >= 0) return;
  if (errno != EMFILE) throw_system_error("watch", root);
  throw IndexError("cannot watch '" + root + "': too many are watching; " +
                   allows("max_user_instances") + "1024` allows more");
}

Watcher::~Watcher() { ::close(_inotify); }

// ---- Watches ----

int Watcher::add(const std::string& path, std::uint32_t events) {
  const int number = ::inotify_add_watch(_inotify, path.c_str(), events);
  if (number < 0 && errno == ENOSPC) ++_refused;
  return number;
}

void Watcher::put(int number, Watch watch) {
  const auto [found, is_new] = _watches.try_emplace(number, watch);
  if (!is_new && found->second.way == watch.way) {
    found->second.walk = watch.walk;
    return;
  }
  if (!is_new) {  // the folder was moved, or holds the rules of several repositories
    if (watch.kind != Kind::folder) watch.way.clear();
    forget(found);
    _watches.emplace(number, watch);
  }
  _by_way.emplace(std::move(watch.way), number);
}

// The folder is named by its descriptor: its path may be too long for the system, or lead to
// another folder by now.
void Watcher::enter(const std::string& path, int folder) {
  std::string way = path.substr(std::min(_root.size(), path.size()));
  int number = add("/proc/self/fd/" + std::to_string(folder), IN_FOLDERS);
  if (number < 0 && errno == ENOENT) number = add(path, IN_FOLDERS);  // there is no /proc
  if (number >= 0) {
    put(number, {way, Kind::folder, _walk});
  } else if (errno != ENOSPC && errno != ENOENT) {  // ENOENT: the folder is gone
    throw_system_error("watch", path);
  }
  struct stat status {};
  const bool is_repository =
      !_rules.no_ignore && ::fstatat(folder, walk::GIT_FOLDER, &status, AT_SYMLINK_NOFOLLOW) == 0;
  if (is_repository) watch_rules_of_repository(way, folder);
}

// A missing folder holds no rules, and an event will tell when it is made.
void Watcher::watch_rules_of_repository(const std::string& way, int folder) {
  std::string common = walk::common_folder(folder, "");
  if (!common.starts_with('/')) common = _root + way + common;
  if (const int number = add(common, IN_GIT); number >= 0) put(number, {way, Kind::git, _walk});
  if (const int number = add(common + "info", IN_GIT); number >= 0) {
    put(number, {way, Kind::git_info, _walk});
  }
}

void Watcher::forget(Watches::iterator watch) {
  const auto [begin, end] = _by_way.equal_range(watch->second.way);
  const auto found =
      std::find_if(begin, end, [&](const auto& each) { return each.second == watch->first; });
  if (found != end) _by_way.erase(found);
  _watches.erase(watch);
}

// Gives up the watches at `way` and below it that no walk has met since the one numbered
// `older_than`.
void Watcher::give_up_below(const std::string& way, std::uint64_t older_than) {
  auto at = _by_way.lower_bound(way);
  while (at != _by_way.end() && at->first.starts_with(way)) {
    const auto watch = _watches.find(at->second);
    if (watch->second.walk >= older_than) {
      ++at;
      continue;
    }
    ::inotify_rm_watch(_inotify, at->second);
    _watches.erase(watch);
    at = _by_way.erase(at);
  }
}

// ---- Walks ----

walk::Selection Watcher::take(const walk::WalkOptions& rules, bool is_complete) {
  if (!is_complete || rules != _rules) _is_all = true;
  _rules = rules;
  ++_walk;
  _refused = 0;
  _taken = _is_all ? walk::Selection()
                   : walk::Selection(std::vector<std::string>(_changed.begin(), _changed.end()));
  _changed.clear();
  _is_all = false;
  return _taken;
}

void Watcher::end_walk() {
  for (const std::string& way : _taken.ways()) give_up_below(way, _walk);
  _taken = {};
  if (_refused == 0) return;
  const std::size_t needed = _by_way.size() + _refused;
  throw IndexError("cannot watch '" + path_of(_root) + "': it takes " + std::to_string(needed) +
                   " watches, and " + allows("max_user_watches") + std::to_string(2 * needed) +
                   "` allows more; the index is up to date");
}

// ---- Events ----

void Watcher::read() {
  alignas(inotify_event) std::array<char, 65536> buffer;
  for (;;) {
    const ssize_t size = ::read(_inotify, buffer.data(), buffer.size());
    if (size < 0 && errno == EINTR) continue;
    if (size <= 0) return;
    for (std::size_t at = 0; at < static_cast<std::size_t>(size);) {
      const auto* const event = reinterpret_cast<const inotify_event*>(buffer.data() + at);
      at += sizeof(inotify_event) + event->len;
      // The name ends at the first NUL.
      take_event(*event, event->len > 0 ? std::string_view(event->name) : std::string_view());
    }
  }
}

void Watcher::select(std::string path) {
  if (path.empty() || _changed.size() == MOST_CHANGES) {
    _is_all = true;
    _changed.clear();
  }
  if (!_is_all) _changed.insert(std::move(path));
}

void Watcher::take_event(const inotify_event& event, std::string_view name) {
  if ((event.mask & IN_Q_OVERFLOW) != 0) return select("");
  const auto found = _watches.find(event.wd);
  if (found == _watches.end()) return;
  const std::string way = found->second.way;
  const Kind kind = found->second.kind;
  if (kind == Kind::folder && way.empty() &&
      (event.mask & (IN_DELETE_SELF | IN_MOVE_SELF | IN_UNMOUNT)) != 0) {
    throw IndexError("'" + path_of(_root) + "' is gone; the index is left as it is");
  }
  if ((event.mask & IN_IGNORED) != 0) return forget(found);
  if (kind == Kind::folder) return take_event_in_folder(way, event, name);
  const bool is_rules = kind == Kind::git ? name == "config" || name == "info" : name == "exclude";
  if (is_rules) select(path_of(way));
}

void Watcher::take_event_in_folder(const std::string& way, const inotify_event& event,
                                   std::string_view name) {
  // An event of the folder itself. Its parent gets the same event, with a name; the root has no
  // parent.
  if (name.empty()) {
    if (way.empty() && (event.mask & IN_ATTRIB) != 0) select("");
    return;
  }
  const bool is_folder = (event.mask & IN_ISDIR) != 0;
  std::string path = way;
  path += name;
  if (is_folder && (event.mask & (IN_DELETE | IN_MOVED_FROM)) != 0) {
    give_up_below(path + '/', ALL_WALKS);
  }
  const auto& names = walk::RuleStack::NAMES;
  if (std::find(names.begin(), names.end(), name) != names.end()) {
    if (!_rules.no_ignore) select(path_of(way));
    return;
  }
  if (name.front() == '.' && !_rules.hidden) return;
  if (is_folder || engines::languages::detect_language(path)) select(std::move(path));
}

}  // namespace repository
