// Which files are being parsed, in a file beside the database: what a run that was killed leaves
// there is tried again alone by the next one (trial.h), since one of them may have killed it.
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
  // Opens it, and reads what is left of a run before. Throws IndexError.
  explicit Journal(const std::string& database);
  ~Journal();
  Journal(const Journal&) = delete;
  Journal& operator=(const Journal&) = delete;

  // The paths that were under way when the last run ended.
  const std::vector<std::string>& left() const { return _left; }
  // Forgets them; to be called before the first Entry. Throws IndexError.
  void clear();
  // At the end of a run.
  void remove();

  // Now, by the clock of the file system in which the journal lies. In nanoseconds.
  std::int64_t now();

  int descriptor() const { return _file; }

  // Lives while a path is under way. For any thread; a path that does not fit is not noted.
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
