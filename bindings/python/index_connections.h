// The connections of one Index to its database, and what happens to them when the process forks.
//
// A connection serves one question at a time. So each question takes an idle one or opens a new
// one, and threads never wait for each other.
//
// SQLite's locks belong to the process, and SQLite notes in the process's memory which ones it has.
// A forked child inherits the notes without the locks, so that even connections which it opens
// itself would go wrong. Hence a fork first closes the idle connections and ends the questions
// under way, which begin anew after it. If a question does not end in time, or the handler of a
// signal forks in the middle of one, all questions in the child raise.
//
// Tested by tests/python/test_index.py.
#pragma once

#include <functional>
#include <memory>
#include <vector>

#include "index/place.h"
#include "index/poll.h"
#include "index/questions.h"

namespace engines::treesitter::python {

// Makes forks do so. To be called before the first question.
void close_connections_at_fork();

// For any thread, without the GIL.
class IndexConnections {
 public:
  explicit IndexConnections(repository::Place place);
  ~IndexConnections();
  IndexConnections(const IndexConnections&) = delete;
  IndexConnections& operator=(const IndexConnections&) = delete;

  // Calls `question`, and calls it again when a fork has ended it. The poll ends it for good.
  // Throws what it throws, and what Questions throws.
  void ask(const repository::Poll& poll,
           const std::function<void(repository::Questions&)>& question);

 private:
  friend class ForkGate;

  // Never moved, since SQLite has its address.
  struct Connection {
    explicit Connection(const repository::Place& place, const repository::Poll& first_poll)
        : poll(&first_poll), questions(place, [this] { return (*poll)(); }) {}
    const repository::Poll* poll;  // of the current question
    repository::Questions questions;
  };

  std::unique_ptr<Connection> take(const repository::Poll& poll);
  void give_back(std::unique_ptr<Connection> connection);

  const repository::Place _place;
  std::vector<std::unique_ptr<Connection>> _idle;  // guarded by ForkGate's mutex
};

}  // namespace engines::treesitter::python
