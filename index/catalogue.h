// A catalogue: many indexes that are asked as one. One database should not hold so many
// repositories.
//
//   FOLDER/catalogue.sqlite          the list: the repositories' names, and the folder that they
//                                    lie in, the root
//   FOLDER/repositories/NAME.sqlite  an index for each, with paths from that root: NAME/...
//
// The list is written at the end, in one transaction: until then the old one holds.
//
// Cost: a question is put to each index, on several threads; memory for the rows asked for, on each
// thread and some times over for the answer.
//
// Tested by tests/cluster/test_index.py.
#pragma once

#include <SQLiteCpp/SQLiteCpp.h>

#include <cstddef>
#include <set>
#include <string>
#include <vector>

#include "index/answers.h"
#include "index/questions.h"
#include "index/write_lock.h"

namespace repository {

class CatalogueWriter {
 public:
  // Makes the folder if there is none. `root`: absolute. Throws IndexError, LockedError while
  // another process writes the catalogue, SQLite::Exception.
  CatalogueWriter(const std::string& folder, const std::string& root);

  // Adds a repository to the new list. False when it is there already.
  bool add(const std::string& repository) { return _repositories.insert(repository).second; }
  // The file of that repository's index, for the caller to make.
  std::string database(const std::string& repository) const;

  // Replaces the list, and removes the indexes of repositories that are in the old one alone.
  // Throws SQLite::Exception.
  void finish();

 private:
  void remove(const std::string& repository) const;

  const std::string _folder;
  const std::string _root;
  const WriteLock _lock;
  SQLite::Database _list;
  std::set<std::string> _repositories;
};

class Catalogue {
 public:
  // Throws IndexError when the folder holds no catalogue.
  explicit Catalogue(std::string folder);

  // The folder that paths start from; absolute.
  const std::string& root() const { return _root; }

  struct Found {
    Answer<Definition> answer;
    bool is_complete = true;  // whether the last run over each index came to its end
  };

  // Puts Questions::find to each index, and gives the best rows in the order of one index.
  // `threads`: 0 for as many as processors may be used. For any thread. Throws IndexError when an
  // index cannot be asked.
  Found find(const FindQuestion& question, std::size_t threads = 0) const;

 private:
  const std::string _folder;
  std::string _root;
  std::vector<std::string> _repositories;
};

}  // namespace repository
