// The rules that apply to the entries of a walk's current folder, as a stack: those of the nearest
// folder are the last and the strongest.
//
// From strong to weak: the globs of the options; `.ignore`, then `.gitignore`, of the current
// folder; the same of each folder above, up to the top of the repository; its info/exclude; the
// user's own file. `.gitignore` files apply in repositories only. A repository within another one
// starts with no rules of the outer one.
//
// What git tracks is kept although git's patterns ignore it, and of an ignored folder that alone.
// `.ignore` files are not git's and leave out tracked files, too.
//
// Cost: memory of the rules of the folders from the current one up, of one path, and of the paths
// that the repositories around the folder track. Folders without ignore files cost nothing.
//
// Tested by tests/walk_test.cpp, and by tests/ignore_parity_test.py against git itself.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "walk/found.h"
#include "walk/ignore_rules.h"
#include "walk/repository.h"
#include "walk/tracked_files.h"
#include "walk/walk_options.h"

namespace walk {

class RuleStack {
 public:
  enum class Verdict : std::uint8_t {
    kept,
    tracked,   // kept, although git's rules ignore it or a folder around it; a folder of this
               // verdict is entered for the tracked files below it
    ignored,   // left out by an ignore file
    excluded,  // left out by the globs of the options
  };

  explicit RuleStack(const WalkOptions& options);

  // The names of the entries on which a folder's rules depend.
  static constexpr std::array<const char*, 3> NAMES = {GIT_FOLDER, ".gitignore", ".ignore"};

  // Which of NAMES a folder has. The walk lists the folder anyway, so nothing is opened in vain.
  struct Seen {
    bool repository = false;
    bool gitignore = false;
    bool ignore = false;

    void note(std::string_view name);
  };

  // Enter the folder with which the walk begins, or one in the current folder, and read its rules.
  // `folder`: its descriptor. `path`: its path in messages, with "/" at the end. Both add what
  // cannot be read to `faults`.
  void enter_first(int folder, const std::string& path, Seen seen, std::vector<Found>& faults);
  void enter(std::string_view name, int folder, const std::string& path, Seen seen,
             std::vector<Found>& faults);
  // Goes back to the folder above, and drops the rules of this one.
  void leave();

  // What happens to an entry of the current folder.
  Verdict judge(std::string_view name, bool is_folder);

 private:
  struct File {
    IgnoreRules rules;
    std::size_t base;  // its patterns are matched with _way from here on
    bool is_git;       // otherwise an `.ignore` file
  };
  struct Repository {
    TrackedFiles tracked;
    std::size_t base;  // paths from its top are _way from here on
  };
  // The state before a folder was entered, for leave().
  struct Level {
    std::size_t way_size;
    std::size_t files;
    std::size_t first;
    std::size_t repositories;
    bool is_ignored;
    bool folds_case;
  };

  void add(IgnoreRules rules, bool is_git = true);
  void begin_repository(int folder, const std::string& top, const std::string& shown,
                        std::vector<Found>& faults);
  void read_above(const std::string& path, std::vector<Found>& faults);
  void read_rules(int folder, const std::string& path, Seen seen, std::vector<Found>& faults);
  void save();
  Verdict judge_way(bool is_folder);
  Verdict judge_by_files(bool is_folder);
  bool is_tracked(bool is_folder) const;

  const bool _reads_files;
  IgnoreRules _globs;
  std::size_t _globs_base = 0;
  std::string _way;     // the current folder's path, with "/" at the end, from the top of the
                        // repository around the first folder, or from that folder
  std::string _folded;  // an entry's path in lower case, where case is folded
  std::vector<File> _files;
  std::size_t _first = 0;                 // in _files; those before are of outer repositories
  std::vector<Repository> _repositories;  // around the current folder, the innermost last
  bool _is_ignored = false;               // git's rules ignore the current folder
  bool _folds_case = false;
  std::vector<Level> _levels;
};

}  // namespace walk
