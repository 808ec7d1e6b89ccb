// The connections of one Index to its database, and what becomes of all of them when the process
// forks.
//
// A connection serves one question at a time, so each question takes one of its own: one that lies
// idle, or a new one. Threads never wait for each other.
//
// SQLite keeps locks, and books of what it has locked, for the process. A child inherits the books
// without the locks, so that a connection which is open when the process forks spoils even those
// that the child opens itself. Hence a fork closes idle connections first, and ends the questions
// that are under way, which begin anew behind it. One that cannot be ended in time, or is in the
// middle of the handler that forks, costs the child its questions: they raise.
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

// Arranges for the above. To be called before the first question.
void close_connections_at_fork();

// For any thread, and without the interpreter's lock.
class IndexConnections {
 public:
  explicit IndexConnections(repository::Place place);
  ~IndexConnections();
  IndexConnections(const IndexConnections&) = delete;
  IndexConnections& operator=(const IndexConnections&) = delete;

  // Calls `question`, again where a fork came in between. What it throws, and what Questions
  // throws, is thrown on. The poll ends it.
  void ask(const repository::Poll& poll,
           const std::function<void(repository::Questions&)>& question);

 private:
  friend class ForkGate;

  // Its address is known to SQLite.
  struct Connection {
    explicit Connection(const repository::Place& place, const repository::Poll& first_poll)
        : poll(&first_poll), questions(place, [this] { return (*poll)(); }) {}
    const repository::Poll* poll;  // of the question that is under way
    repository::Questions questions;
  };

  std::unique_ptr<Connection> take(const repository::Poll& poll);
  void give_back(std::unique_ptr<Connection> connection);

  const repository::Place _place;
  std::vector<std::unique_ptr<Connection>> _idle;  // behind the gate's lock
};

}  // namespace engines::treesitter::python
