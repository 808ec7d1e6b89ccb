// OrderedParse: threads that parse files, and their outcomes in the order of the paths.
//
// Its threads know nothing of Python, so they neither wait for the interpreter's lock nor have to
// be stopped by it; what becomes of an outcome is its owner's affair. Threads are started as there
// is work for them. How much is under way at once is the owner's affair too.
//
// All operations are for one thread at a time, the owner's.
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <deque>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "bindings/python/outcome.h"
#include "engines/treesitter/treesitter.h"

namespace engines::treesitter::python {

class OrderedParse {
 public:
  OrderedParse(std::shared_ptr<const TreeSitterEngine> engine, std::size_t threads);
  // Waits for the files that are being parsed, and drops the others.
  ~OrderedParse();
  OrderedParse(const OrderedParse&) = delete;
  OrderedParse& operator=(const OrderedParse&) = delete;

  // Throws std::bad_alloc, and std::system_error when there is no thread and none can be started.
  void add(std::string path);

  // How many files no thread has begun with.
  std::size_t waiting() const;

  // Waits for the outcome of the file that was added first of those not taken; whether it is there.
  bool wait(std::chrono::milliseconds at_most) const;

  struct Taken {
    std::string path;
    Outcome outcome;
  };
  // That outcome, which must be there.
  Taken take();

 private:
  struct Job {
    std::string path;
    Outcome outcome;
    bool is_done = false;
  };

  std::size_t idle() const;
  void start_thread();
  void work();

  const std::shared_ptr<const TreeSitterEngine> _engine;  // written by the constructor only
  const std::size_t _most_threads;                        // written by the constructor only
  std::vector<std::thread> _threads;                      // the owner's

  mutable std::mutex _mutex;                       // of all below
  mutable std::condition_variable _first_is_done;  // the owner waits for it
  std::condition_variable _has_work;               // threads wait for it
  std::deque<Job> _jobs;   // a thread works on its job without the lock: jobs stay where they are
  std::size_t _begun = 0;  // of _jobs, from the front
  std::size_t _idle = 0;   // threads that wait for work
  bool _is_ending = false;
};

}  // namespace engines::treesitter::python
