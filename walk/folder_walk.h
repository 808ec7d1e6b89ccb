// The files below a folder that the engine has a language for and no rule leaves out, one at a
// time: sorted, without recursion, and to any depth, also where paths are longer than the system
// takes (PATH_MAX). A folder that is left out is not entered, so that no rule below it counts.
//
// Cost: the names that are still to come of each folder on the way to the current one, one path,
// the rules that hold there (rule_stack.h), and at most OPEN_FOLDERS descriptors. Folders further
// up are closed, opened again through `..` on the way back, and recognised by device and inode: a
// folder that was moved meanwhile is not taken for another one.
//
// Tested by tests/walk_test.cpp.
#pragma once

#include <sys/stat.h>

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "walk/found.h"
#include "walk/open_folder.h"
#include "walk/rule_stack.h"
#include "walk/selection.h"
#include "walk/walk_options.h"

namespace walk {

// Gives paths in the order of their bytes, as `LC_ALL=C sort` would put them. FIFOs and the like
// are given: whoever reads them refuses them, and the user learns of it.
class FolderWalk {
 public:
  static constexpr std::size_t OPEN_FOLDERS = 16;

  // Told of each folder before it is listed, so that whoever watches it from then on misses
  // nothing. `path`: as the walk calls it, with "/" at the end.
  using Entering = std::function<void(const std::string& path, int descriptor)>;

  // A symbolic link to a folder is followed here, since somebody named it, and it is entered
  // whatever the rules above it say. A folder that is only on the way to what is selected is not
  // listed; its rules hold all the same.
  explicit FolderWalk(const std::string& folder, WalkOptions options = {}, Selection selection = {},
                      Entering entering = {});

  // None at the end. Each folder that cannot be entered, and each ignore file that cannot be read,
  // is met with its error, and the walk goes on without it.
  std::optional<Found> next();

  // A descriptor of the file that next() gave last, which is the caller's, or -1 and errno. For
  // files whose path is too long to be opened.
  int open_last();

  // What the file that next() gave last is, without following a link. Gives an errno, 0 when it is
  // known.
  int stat_last(struct stat& status);

  // Of what has been listed so far.
  const LeftOut& left_out() const { return _left_out; }

 private:
  struct Entry {
    std::string name;  // of folders with "/" at the end, which is how they are sorted
    int error;
  };
  struct Level {
    std::size_t path_size;       // of the path that its entries follow, in _path
    OpenFolder folder;           // closed while far from the current one, or when it was lost
    bool is_whole;               // otherwise only what is selected counts in it
    std::vector<Entry> entries;  // the next one is last
  };

  void push(OpenFolder folder, const std::string& name);
  int list(Level& level, RuleStack::Seen& seen);
  void look_at_selected(Level& level, RuleStack::Seen& seen);
  void add(Level& level, const char* name, OpenFolder::Kind kind, int error);
  void follow_rules(const std::string& name, RuleStack::Seen seen);
  bool is_left_out(const Entry& entry);
  void pop();
  int require_open();
  std::optional<Found> enter(const std::string& name);
  void close_all_but_last();

  const WalkOptions _options;
  const Selection _selection;
  const Entering _entering;
  RuleStack _rules;
  std::string _path;             // of the current folder, with "/" at the end
  std::size_t _prefix_size = 0;  // of the first folder's
  std::vector<Level> _levels;
  std::string _last_name;
  std::vector<Found> _faults;  // of the folder entered last
  LeftOut _left_out;
};

}  // namespace walk
