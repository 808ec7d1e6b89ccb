// Tested by tests/python/test_interpreter_end.py.
#include "bindings/python/interpreter_end.h"

#include <Python.h>
#include <pthread.h>
#include <unistd.h>

#include <atomic>

namespace engines::treesitter::python {
namespace {

// One of each per process, as its exit handlers are.
std::atomic<int> calls_under_way = 0;
std::atomic<bool> has_ended = false;
std::atomic<bool> is_arranged = false;

void end() {
  is_arranged = false;
  has_ended = true;
  for (int calls = calls_under_way; calls != 0; calls = calls_under_way) {
    calls_under_way.wait(calls);
  }
}

// Only the thread that forked is in the child, and it is in no call.
void forget_calls() { calls_under_way = 0; }

}  // namespace

// A host may end one interpreter and begin another, whose import opens the way again.
void wait_for_calls_at_end() {
  static const int at_fork = ::pthread_atfork(nullptr, nullptr, forget_calls);
  (void)at_fork;
  has_ended = false;
  // It fails when 32 others have come first; then there is no wait.
  if (!is_arranged.exchange(true)) Py_AtExit(end);
}

// The count comes first: a call that the end has not seen sees the end.
EngineCall::EngineCall() noexcept {
  ++calls_under_way;
  _may_begin = !has_ended;
}

EngineCall::~EngineCall() {
  --calls_under_way;
  if (has_ended) calls_under_way.notify_all();
}

void wait_for_process_end() noexcept {
  for (;;) ::pause();
}

}  // namespace engines::treesitter::python
