// Walks a folder and returns its files one at a time: those that have a language and that no rule
// leaves out. Sorted, without recursion, and to any depth, also where a path is longer than the
// system takes (PATH_MAX). A folder that is left out is not entered, so ignore files in it are not
// read.
//
// Cost: memory of the names that are still to come, of each folder from the first to the current
// one; of one path; and of the rules that apply there (rule_stack.h). The OPEN_FOLDERS folders
// nearest to the current one are open, and for a moment a descriptor or two more. Folders above
// these are closed and opened again through `..` on the way back. Device and inode tell whether
// that is the same folder, since somebody may have moved it meanwhile.
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

// Returns paths sorted by bytes, as `LC_ALL=C sort` does. FIFOs and the like are returned too: the
// engine refuses them with an error that the user sees. Not thread-safe: one thread at a time.
class FolderWalk {
 public:
  static constexpr std::size_t OPEN_FOLDERS = 16;

  // Called with each folder before it is listed, so that a watch that is added in the call misses
  // no change. `path`: as in Found, with "/" at the end. `descriptor`: the walk's, open during the
  // call.
  using Entering = std::function<void(const std::string& path, int descriptor)>;

  // `folder` may be a symbolic link and is entered even where the rules above it ignore it, since
  // the user named it. A folder that only leads to selected paths is not listed, but its rules
  // apply.
  explicit FolderWalk(const std::string& folder, WalkOptions options = {}, Selection selection = {},
                      Entering entering = {});

  // The next file, or a folder or ignore file that cannot be read, with its error: the walk goes on
  // without it. None at the end.
  std::optional<Found> next();

  // Opens the file that next() returned last. Returns its descriptor, which the caller owns, or -1
  // and errno. For files whose path is too long to be opened.
  int open_last();

  // lstat of the file that next() returned last. Returns 0 or an errno.
  int stat_last(struct stat& status);

  // Counts of what was left out so far; complete at the end.
  const LeftOut& left_out() const { return _left_out; }

 private:
  struct Entry {
    std::string name;  // a folder's ends with "/", so that sorting names sorts whole paths
    int error;         // errno, 0 for none
  };
  struct Level {
    std::size_t path_size;       // of this folder's path, the beginning of _path
    OpenFolder folder;           // closed while far above the current one, or not found again
    bool is_whole;               // all of it is selected
    std::vector<Entry> entries;  // still to come, the next one last
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
  std::vector<Found> _faults;  // of the folder entered last, not yet returned
  LeftOut _left_out;
};

}  // namespace walk
