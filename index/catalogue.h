// Many indexes that are asked as one: of repositories that no single database should hold.
//
//   FOLDER/catalogue.sqlite        which repositories there are, and the folder that they lie in
//   FOLDER/repositories/NAME.sqlite  an index for each, with paths from that folder: NAME/...
//
// Whoever writes it gives its list at the end, in one transaction: until then the one before holds.
//
// Cost of a question: that of the question to each index, over as many threads as one likes;
// memory: the rows asked for, for each thread.
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
  // Makes the folder if need be. Throws IndexError, LockedError while another one writes.
  CatalogueWriter(const std::string& folder, const std::string& root);

  // Whether it was not yet added to this one.
  bool add(const std::string& repository) { return _repositories.insert(repository).second; }
  // Where its index is to lie.
  std::string database(const std::string& repository) const;

  // From now on the catalogue is of what was added; indexes of what was not are removed.
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
  // Throws IndexError when there is none.
  explicit Catalogue(std::string folder);

  // The folder that paths start from; absolute.
  const std::string& root() const { return _root; }

  struct Found {
    Answer<Definition> answer;
    bool is_complete = true;  // otherwise some index is just being made
  };

  // As Questions::find, over all; `threads`: 0 for as many as there are processors. Throws
  // IndexError when an index cannot be asked.
  Found find(const FindQuestion& question, std::size_t threads = 0) const;

 private:
  const std::string _folder;
  std::string _root;
  std::vector<std::string> _repositories;
};

}  // namespace repository
