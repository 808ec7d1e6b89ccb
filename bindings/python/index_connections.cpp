// See index_connections.h.
#include "bindings/python/index_connections.h"

#include <Python.h>
#include <pthread.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <new>
#include <utility>

#include "index/index_error.h"

namespace engines::treesitter::python {

// All questions of the process enter here first. A fork closes the gate, and opens it afterwards.
class ForkGate {
 public:
  void enter(bool is_nested);
  void leave();

  // Whether a question under way must end. A nested one, asked by the handler of a signal that came
  // in the middle of another, need not: the other one does.
  bool ends(bool is_nested) const { return (_is_closed && !is_nested) || _is_spoilt; }
  // Whether the process was forked in the middle of a question.
  bool is_spoilt() const { return _is_spoilt; }

  void add(IndexConnections* connections);
  void remove(IndexConnections* connections);

  std::mutex& mutex() { return _mutex; }

  void before_fork();
  void after_fork_in_parent();
  void after_fork_in_child();

 private:
  // Usually a question ends within some milliseconds.
  static constexpr std::chrono::seconds MOST_WAIT{2};

  void wait_for_others();

  std::mutex _mutex;
  std::condition_variable _changed;
  std::vector<IndexConnections*> _all;
  int _under_way = 0;
  std::atomic<bool> _is_closed = false;
  std::atomic<bool> _is_spoilt = false;
};

namespace {

// Idle connections that are kept for one index. Each may hold two megabytes.
constexpr std::size_t MOST_IDLE = 8;

// Never destroyed, since threads may still ask questions while the process ends.
ForkGate& gate() {
  static auto* const one = new ForkGate;
  return *one;
}

thread_local constinit int questions_of_thread = 0;

// One question; made before its connection is opened, and destroyed after its end.
class Passage {
 public:
  Passage() {
    gate().enter(questions_of_thread > 0);
    ++questions_of_thread;
  }
  ~Passage() {
    --questions_of_thread;
    gate().leave();
  }
  Passage(const Passage&) = delete;
  Passage& operator=(const Passage&) = delete;
};

bool has_interpreter_lock() {
  PyThreadState* const mine = PyGILState_GetThisThreadState();
  return mine != nullptr && mine == _PyThreadState_UncheckedGet();
}

}  // namespace

// ---- Forks ----

// A nested question does not wait: the fork would wait for the other question of this thread.
void ForkGate::enter(bool is_nested) {
  std::unique_lock lock(_mutex);
  _changed.wait(lock, [&] { return is_nested || !_is_closed; });
  ++_under_way;
}

void ForkGate::leave() {
  const std::lock_guard lock(_mutex);
  --_under_way;
  _changed.notify_all();
}

void ForkGate::add(IndexConnections* connections) {
  const std::lock_guard lock(_mutex);
  _all.push_back(connections);
}

void ForkGate::remove(IndexConnections* connections) {
  const std::lock_guard lock(_mutex);
  std::erase(_all, connections);
}

void ForkGate::wait_for_others() {
  std::unique_lock lock(_mutex);
  _changed.wait(lock, [&] { return !_is_closed; });  // another thread forks
  _is_closed = true;
  _changed.wait_for(lock, MOST_WAIT, [&] { return _under_way == questions_of_thread; });
}

// Questions are waited for without the GIL, since one on the main thread may need it to look for
// signals. The gate's mutex is locked after the GIL is taken again, as by all threads that need
// both, and stays locked until the fork is over.
void ForkGate::before_fork() {
  if (has_interpreter_lock()) {
    PyThreadState* const state = PyEval_SaveThread();
    wait_for_others();
    PyEval_RestoreThread(state);
  } else {
    wait_for_others();
  }
  _mutex.lock();
  for (IndexConnections* const connections : _all) connections->_idle.clear();
}

void ForkGate::after_fork_in_parent() {
  _is_closed = false;
  _mutex.unlock();
  _changed.notify_all();
}

// None of the other threads exists here, nor waits for the condition.
void ForkGate::after_fork_in_child() {
  if (_under_way > 0) _is_spoilt = true;
  _under_way = questions_of_thread;
  _is_closed = false;
  _mutex.unlock();
  new (&_changed) std::condition_variable;
}

void close_connections_at_fork() {
  static const int at_fork =
      ::pthread_atfork([] { gate().before_fork(); }, [] { gate().after_fork_in_parent(); },
                       [] { gate().after_fork_in_child(); });
  (void)at_fork;
}

// ---- Connections ----

IndexConnections::IndexConnections(repository::Place place) : _place(std::move(place)) {
  gate().add(this);
}

IndexConnections::~IndexConnections() { gate().remove(this); }

std::unique_ptr<IndexConnections::Connection> IndexConnections::take(const repository::Poll& poll) {
  std::unique_ptr<Connection> connection;
  {
    const std::lock_guard lock(gate().mutex());
    if (!_idle.empty()) {
      connection = std::move(_idle.back());
      _idle.pop_back();
    }
  }
  if (connection && connection->questions.is_current()) {
    connection->poll = &poll;
    return connection;
  }
  connection.reset();
  return std::make_unique<Connection>(_place, poll);
}

void IndexConnections::give_back(std::unique_ptr<Connection> connection) {
  const std::lock_guard lock(gate().mutex());
  if (_idle.size() < MOST_IDLE) _idle.push_back(std::move(connection));
}

void IndexConnections::ask(const repository::Poll& poll,
                           const std::function<void(repository::Questions&)>& question) {
  const bool is_nested = questions_of_thread > 0;
  for (bool is_cut_off = true; is_cut_off;) {
    const Passage passage;
    if (gate().is_spoilt()) {
      throw repository::IndexError(
          "this process was forked in the middle of a question to an index, and can ask none");
    }
    is_cut_off = false;
    const repository::Poll until_fork = [&] {
      is_cut_off = is_cut_off || gate().ends(is_nested);
      return is_cut_off || poll();
    };
    std::unique_ptr<Connection> connection;
    try {
      connection = take(until_fork);
      question(connection->questions);
      is_cut_off = false;  // it has come to its end before it noticed
      give_back(std::move(connection));
    } catch (const repository::IndexError&) {
      // Closing the connection would use SQLite's notes, which are the parent's.
      if (gate().is_spoilt()) (void)connection.release();
      if (!is_cut_off) throw;
    }
  }
}

}  // namespace engines::treesitter::python
