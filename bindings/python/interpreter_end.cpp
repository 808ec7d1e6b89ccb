// See interpreter_end.h.
#include "bindings/python/interpreter_end.h"

#include <Python.h>
#include <pthread.h>
#include <unistd.h>

#include <atomic>
#include <mutex>
#include <new>

namespace engines::treesitter::python {
namespace {

// One of each per process, as its exit handlers are.
std::atomic<int> calls_under_way = 0;
std::atomic<bool> has_ended = false;
std::atomic<bool> is_arranged = false;

// The first import of all, and the first after an end, replaces the source before anybody can read
// it. Interpreters with GILs of their own may import at once, hence the mutex. A fork locks it
// first, so that no child inherits it locked by another thread.
std::mutex beginning;
std::stop_source process_end(std::nostopstate);

thread_local constinit int calls_of_thread = 0;

void end() {
  is_arranged = false;
  has_ended = true;
  process_end.request_stop();
  for (int calls = calls_under_way; calls != 0; calls = calls_under_way) {
    calls_under_way.wait(calls);
  }
}

// Only the thread that forked exists in the child; it is in a call if the handler of a signal
// forked. The source is a new one, since another thread may have held a lock within the old one.
void forget_calls() {
  calls_under_way = calls_of_thread;
  try {
    process_end = std::stop_source();
  } catch (const std::bad_alloc&) {
    process_end = std::stop_source(std::nostopstate);  // calls are not cancelled, but waited for
  }
  beginning.unlock();
}

[[gnu::used]] const int at_fork =
    ::pthread_atfork([] { beginning.lock(); }, [] { beginning.unlock(); }, forget_calls);

}  // namespace

// A host may end one interpreter and begin another. The import there lets calls begin again.
void wait_for_calls_at_end() {
  {
    const std::lock_guard lock(beginning);
    if (!process_end.stop_possible() || process_end.stop_requested()) {
      process_end = std::stop_source();
    }
    has_ended = false;
  }
  // Python takes 32 such functions. When others have taken all places, the end does not wait.
  if (!is_arranged.exchange(true)) Py_AtExit(end);
}

std::stop_token end_of_interpreter() { return process_end.get_token(); }

// The count comes first. So a call that end() has not counted sees that the interpreter has ended.
EngineCall::EngineCall() noexcept {
  ++calls_of_thread;
  ++calls_under_way;
  _may_begin = !has_ended;
}

bool EngineCall::is_under_way() noexcept { return calls_of_thread > 0; }

EngineCall::~EngineCall() {
  --calls_of_thread;
  --calls_under_way;
  if (has_ended) calls_under_way.notify_all();
}

void wait_for_process_end() noexcept {
  for (;;) ::pause();
}

}  // namespace engines::treesitter::python
