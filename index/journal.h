// Keeps the paths of the files that are being parsed, in a file beside the database. When a run was
// killed, one of them may have killed it; so the next run first parses each of them in a process of
// its own (trial.h).
//
// Cost: two writes of some bytes for each parse; on disk a block for each thread.
//
// Tested by tests/index_test.cpp.
#pragma once

#include <cstddef>
#include <cstdint>
#include <mutex>
#include <string>
#include <vector>

namespace repository {

class Journal {
 public:
  // Opens or makes the file, and reads what an earlier run has left in it. Throws IndexError.
  explicit Journal(const std::string& database);
  ~Journal();
  Journal(const Journal&) = delete;
  Journal& operator=(const Journal&) = delete;

  // The paths that were being parsed when the last run ended.
  const std::vector<std::string>& left() const { return _left; }
  // Empties the file and left(); to be called before the first Entry. Throws IndexError.
  void clear();
  // Removes the file; to be called at the end of a run.
  void remove();

  // The time by the clock of the journal's file system, in nanoseconds. Throws IndexError.
  std::int64_t now();

  int descriptor() const { return _file; }

  // Made before a path is parsed, and destroyed after it. For any thread. A path of 8 KiB or more
  // is left out.
  class Entry {
   public:
    Entry(Journal& journal, const std::string& path);
    ~Entry();
    Entry(const Entry&) = delete;
    Entry& operator=(const Entry&) = delete;

   private:
    Journal& _journal;
    std::size_t _slot;
  };

 private:
  void read_left();
  std::size_t take_slot();
  void write(std::size_t slot, const std::string& text);

  const std::string _path;
  int _file;
  std::vector<std::string> _left;
  std::mutex _mutex;
  std::vector<std::size_t> _free;
  std::size_t _slots = 0;
};

}  // namespace repository
