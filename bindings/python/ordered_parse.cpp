// Tested by tests/python/test_parse_many.py.
#include "bindings/python/ordered_parse.h"

#include <csignal>
#include <utility>

namespace engines::treesitter::python {
namespace {

// Signals are for the host's threads: Python's handlers belong to its main thread.
class BlockedSignals {
 public:
  BlockedSignals() {
    sigset_t all;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &_before);
  }
  ~BlockedSignals() { pthread_sigmask(SIG_SETMASK, &_before, nullptr); }
  BlockedSignals(const BlockedSignals&) = delete;
  BlockedSignals& operator=(const BlockedSignals&) = delete;

 private:
  sigset_t _before;
};

}  // namespace

OrderedParse::OrderedParse(std::shared_ptr<const TreeSitterEngine> engine, std::size_t threads)
    : _engine(std::move(engine)), _most_threads(threads) {}

OrderedParse::~OrderedParse() {
  {
    const std::lock_guard lock(_mutex);
    _is_ending = true;
  }
  _has_work.notify_all();
  for (std::thread& thread : _threads) thread.join();
}

void OrderedParse::add(std::string path) {
  // First the thread, since a job that nobody would do must not be added.
  if (waiting() >= idle() && _threads.size() < _most_threads) start_thread();
  const std::lock_guard lock(_mutex);
  _jobs.push_back({std::move(path), {}, false});
  _has_work.notify_one();
}

// A machine that gives no more threads slows us down, unless it gives none at all.
void OrderedParse::start_thread() {
  const BlockedSignals blocked;  // a new thread inherits them
  try {
    _threads.emplace_back([this] { work(); });
  } catch (const std::system_error&) {
    if (_threads.empty()) throw;
  }
}

void OrderedParse::work() {
  std::unique_lock lock(_mutex);
  for (;;) {
    ++_idle;
    _has_work.wait(lock, [this] { return _is_ending || _begun < _jobs.size(); });
    --_idle;
    if (_is_ending) return;
    Job& job = _jobs[_begun++];
    lock.unlock();
    job.outcome = outcome_of([&] { return _engine->parse_file(job.path); });
    lock.lock();
    job.is_done = true;
    if (&job == &_jobs.front()) _first_is_done.notify_one();
  }
}

std::size_t OrderedParse::idle() const {
  const std::lock_guard lock(_mutex);
  return _idle;
}

std::size_t OrderedParse::waiting() const {
  const std::lock_guard lock(_mutex);
  return _jobs.size() - _begun;
}

bool OrderedParse::wait(std::chrono::milliseconds at_most) const {
  std::unique_lock lock(_mutex);
  return _first_is_done.wait_for(lock, at_most,
                                 [this] { return !_jobs.empty() && _jobs.front().is_done; });
}

OrderedParse::Taken OrderedParse::take() {
  const std::lock_guard lock(_mutex);
  Taken taken = {std::move(_jobs.front().path), std::move(_jobs.front().outcome)};
  _jobs.pop_front();
  --_begun;
  return taken;
}

}  // namespace engines::treesitter::python
