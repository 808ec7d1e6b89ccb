// The files below a folder that the engine has a language for, one at a time: sorted, without
// recursion, and to any depth, also where paths are longer than the system takes (PATH_MAX).
//
// Cost: the names that are still to come of each folder on the way to the current one, one path,
// and at most OPEN_FOLDERS descriptors. Folders further up are closed, opened again through `..` on
// the way back, and recognised by device and inode: a folder that was moved meanwhile is not taken
// for another one.
//
// Tested by tests/walk_test.cpp.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "walk/open_folder.h"

namespace walk {

// A file, or what could not be read where `error` is an errno: a folder, or an entry of which
// nobody tells whether it is one.
struct Found {
  std::string path;  // the first folder as given, "/", and the way from there
  int error = 0;
};

// How many entries a walk has met that are none of the indexer's business.
struct LeftOut {
  std::size_t hidden = 0;   // the name begins with a full stop; files and folders
  std::size_t links = 0;    // symbolic ones: so nothing is met twice and there are no loops
  std::size_t unknown = 0;  // files whose name tells no language

  LeftOut& operator+=(const LeftOut& other);
};

// Gives paths in the order of their bytes, as `LC_ALL=C sort` would put them. FIFOs and the like
// are given: whoever reads them refuses them, and the user learns of it.
class FolderWalk {
 public:
  static constexpr std::size_t OPEN_FOLDERS = 3;

  // A symbolic link to a folder is followed here, since somebody named it.
  explicit FolderWalk(const std::string& folder);

  // None at the end. Each folder that cannot be entered is met with its error, and the walk goes
  // on behind it.
  std::optional<Found> next();

  // A descriptor of the file that next() gave last, which is the caller's, or -1 and errno. For
  // files whose path is too long to be opened.
  int open_last();

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
    std::vector<Entry> entries;  // the next one is last
  };

  void push(OpenFolder folder);
  void pop();
  int require_open();
  std::optional<Found> enter(const std::string& name);
  bool keeps(const char* name, OpenFolder::Kind kind);
  void close_all_but_last();

  std::string _path;  // of the current folder, with "/" at the end
  std::vector<Level> _levels;
  std::string _last_name;
  std::optional<Found> _fault;  // of the folder entered last
  LeftOut _left_out;
};

}  // namespace walk
