// Sees to it that one process at a time writes an index, by a lock on a file beside the database.
// The system gives the lock back when the process ends, however that happens. Readers need no lock.
//
// Tested by tests/index_command_test.py.
#pragma once

#include <string>

namespace repository {

class WriteLock {
 public:
  // Does not wait. Throws LockedError, which names the process that has the lock; IndexError.
  explicit WriteLock(const std::string& database);
  ~WriteLock();
  WriteLock(const WriteLock&) = delete;
  WriteLock& operator=(const WriteLock&) = delete;

  // For a forked child to close: it would hold the lock for as long as it lives.
  int descriptor() const { return _file; }

 private:
  int _file;
};

}  // namespace repository
