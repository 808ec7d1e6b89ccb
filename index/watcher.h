// Collects which paths of a repository have changed, by inotify. There is a watch on each folder
// that a walk enters, and for each git repository on the two folders that hold its ignore rules and
// settings.
//
// A walk calls enter() before it lists a folder. So what is made in a new folder before the watch
// is set is found by the listing. What a change means is not judged here: a path that an event has
// named is looked at again, with all that lies below it when it is a folder.
//
// A watch stays with its folder when the folder is moved. So all watches in a folder are given up
// when an event says that it is removed or moved, and the walk at its new place sets new ones.
//
// Cost: one watch of the system and some hundred bytes for each folder. Changed paths are kept
// until a walk takes them; beyond 65,536 everything is looked at.
//
// Tested by tests/watch_test.py.
#pragma once

#include <sys/inotify.h>

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>

#include "walk/selection.h"
#include "walk/walk_options.h"

namespace repository {

class Watcher {
 public:
  // `root`: absolute. Throws IndexError.
  explicit Watcher(const std::string& root);
  ~Watcher();
  Watcher(const Watcher&) = delete;
  Watcher& operator=(const Watcher&) = delete;

  // For poll(): readable when there are events.
  int descriptor() const { return _inotify; }

  // Reads the events that there are. Throws IndexError when the root is gone.
  void read();

  // How many paths have changed; SIZE_MAX when everything may have.
  std::size_t changes() const { return _is_all ? SIZE_MAX : _changed.size(); }

  // Gives what has changed, and forgets it; to be called before a walk by these rules. Gives all
  // when the index is not complete, or the rules are not those of the last walk.
  walk::Selection take(const walk::WalkOptions& rules, bool is_complete);

  // Watches a folder; FolderWalk calls it during that walk, on any thread, on one at a time.
  // `folder`: an open descriptor of it. Throws IndexError.
  void enter(const std::string& path, int folder);
  // To be called after the walk. Gives up the watches of folders that it should have met and has
  // not. Throws IndexError when the system has refused watches.
  void end_walk();

  std::size_t watches() const { return _by_way.size(); }

 private:
  enum class Kind : std::uint8_t { folder, git, git_info };
  struct Watch {
    std::string way;  // the folder's path from the root, or that of its repository; "/" at the end
    Kind kind;
    std::uint64_t walk;  // the number of the last walk that met it
  };
  using Watches = std::unordered_map<int, Watch>;

  int add(const std::string& path, std::uint32_t events);
  void watch_rules_of_repository(const std::string& way, int folder);
  void put(int number, Watch watch);
  void take_event(const inotify_event& event, std::string_view name);
  void take_event_in_folder(const std::string& way, const inotify_event& event,
                            std::string_view name);
  void select(std::string path);
  void give_up_below(const std::string& way, std::uint64_t older_than);
  void forget(Watches::iterator watch);

  const std::string _root;  // with "/" at the end
  int _inotify;
  Watches _watches;
  std::multimap<std::string, int> _by_way;  // the keys of _watches
  walk::WalkOptions _rules;
  std::uint64_t _walk = 0;

  bool _is_all = true;  // everything is to be looked at
  std::unordered_set<std::string> _changed;
  walk::Selection _taken;
  std::size_t _refused = 0;  // how many watches the system has refused in this walk
};

}  // namespace repository
