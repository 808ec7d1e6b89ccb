// All rules that hold for the entries of the folder where a walk stands, the nearest last.
//
// Of the files of one folder `.ignore` is stronger than `.gitignore`, which counts in repositories
// only; then come those of the folder above, and so on to the top of the repository, its
// info/exclude and the user's own file. A repository within another begins anew. What git tracks
// counts although git's patterns name it; of a folder that they name only that. `.ignore` files are
// no business of git's, and leave out what is tracked, too.
//
// Cost: the rules of the folders from the current one up, the way from the top, and the paths that
// the repositories on that way track; folders without ignore files cost nothing.
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
  enum class Verdict : std::uint8_t { kept, tracked, ignored, excluded };

  explicit RuleStack(const WalkOptions& options);

  // What entries of a folder are called on which its rules depend.
  static constexpr std::array<const char*, 3> NAMES = {GIT_FOLDER, ".gitignore", ".ignore"};

  // What a folder's list of entries tells of its rules.
  struct Seen {
    bool repository = false;
    bool gitignore = false;
    bool ignore = false;

    void note(std::string_view name);
  };

  // Enters the folder that the walk begins with, or one in the current folder. `path`: how the
  // walk calls it, with "/" at the end. Adds what cannot be read to `faults`.
  void enter_first(int folder, const std::string& path, Seen seen, std::vector<Found>& faults);
  void enter(std::string_view name, int folder, const std::string& path, Seen seen,
             std::vector<Found>& faults);
  void leave();

  // What becomes of an entry of the current folder. `tracked`: kept although git's rules name it,
  // or a folder around it; such a folder is entered for what is tracked below it.
  Verdict judge(std::string_view name, bool is_folder);

 private:
  struct File {
    IgnoreRules rules;
    std::size_t base;  // where the paths begin that it speaks of, in _way
    bool is_git;       // otherwise an `.ignore` file
  };
  struct Repository {
    TrackedFiles tracked;
    std::size_t base;  // of its top, in _way
  };
  // What a folder changed, for the way back.
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
  std::string _way;     // from the top of the outermost repository, with "/" at the end
  std::string _folded;  // the same of an entry in lower case, where case is folded
  std::vector<File> _files;
  std::size_t _first = 0;  // of the files that count here; others are of repositories around
  std::vector<Repository> _repositories;  // around the current folder, the innermost last
  bool _is_ignored = false;               // the current folder, by git's rules
  bool _folds_case = false;
  std::vector<Level> _levels;
};

}  // namespace walk
