// Which paths of a repository have changed, by inotify: a watch on each folder that a walk enters,
// and for each git repository on the two folders that its rules lie in.
//
// A walk tells of a folder before it lists it (enter), so that what is made in a new folder before
// its watch is set is found by the listing. What a change means is not judged here: a path that was
// named by an event is looked at again, with all that lies below it when it is a folder.
//
// Watches follow a folder when it is moved. So all of a folder are given up as soon as its going is
// read, and what still comes from them is of no interest: the folder is walked at its new place.
//
// Cost: one watch of the system and some hundred bytes for each folder; while changes are gathered
// their paths, up to a number beyond which everything is looked at.
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

  // Readable when there are events.
  int descriptor() const { return _inotify; }

  // Takes the events that there are. Throws IndexError when the root has gone.
  void read();

  // How many paths have changed; the most when everything may have.
  std::size_t changes() const { return _is_all ? SIZE_MAX : _changed.size(); }

  // What has changed, for a walk by these rules, which follows. From now on changes are new ones.
  walk::Selection take(const walk::WalkOptions& rules, bool is_complete);

  // For FolderWalk, while that walk goes on, on any one thread at a time.
  void enter(const std::string& path, int folder);
  // Ends the walk: folders that it should have met and has not are watched no longer. Throws
  // IndexError when the system allowed too few watches.
  void end_walk();

  std::size_t watches() const { return _by_way.size(); }

 private:
  enum class Kind : std::uint8_t { folder, git, git_info };
  struct Watch {
    std::string way;  // of the folder, or of that whose repository it is; with "/" at the end
    Kind kind;
    std::uint64_t walk;  // the last one that met it
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
  std::multimap<std::string, int> _by_way;  // numbers of watches
  walk::WalkOptions _rules;
  std::uint64_t _walk = 0;

  bool _is_all = true;  // everything is to be looked at
  std::unordered_set<std::string> _changed;
  walk::Selection _taken;
  std::size_t _refused = 0;  // folders, for want of watches
};

}  // namespace repository
