// One writer at a time, by a lock on a file beside the database that the system gives back whatever
// becomes of the process. Readers need none.
//
// Tested by tests/index_command_test.py.
#pragma once

#include <string>

namespace repository {

class WriteLock {
 public:
  // Does not wait. Throws LockedError, which names the process that holds the lock.
  explicit WriteLock(const std::string& database);
  ~WriteLock();
  WriteLock(const WriteLock&) = delete;
  WriteLock& operator=(const WriteLock&) = delete;

  // For a forked child, which would else hold the lock for as long as it lives.
  int descriptor() const { return _file; }

 private:
  int _file;
};

}  // namespace repository
