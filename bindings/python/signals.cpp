// See signals.h.
#include "bindings/python/signals.h"

#include "bindings/python/owned.h"

#if PY_VERSION_HEX >= 0x030D0000
// Python 3.13 still exports it, but declares it in internal headers only.
// NOLINTNEXTLINE(bugprone-reserved-identifier)
extern "C" int _PyOS_IsMainThread(void);
#endif

namespace engines::treesitter::python {
namespace {

// Taking the GIL may take 5 ms: so long another thread may keep it.
constexpr std::chrono::milliseconds INTERVAL(50);

using Clock = std::chrono::steady_clock;

}  // namespace

SignalPoll::SignalPoll()
    : _thread(_PyOS_IsMainThread() != 0 && !is_finalizing() ? PyThreadState_Get() : nullptr),
      _next(Clock::now() + INTERVAL) {}

std::function<bool()> SignalPoll::function() {
  if (_thread == nullptr) return {};
  return [this] { return poll(); };
}

// An error that a handler has raised stays with the thread when the GIL is released.
bool SignalPoll::poll() {
  if (_has_raised || Clock::now() < _next) return _has_raised;
  PyEval_RestoreThread(_thread);
  _has_raised = PyErr_CheckSignals() != 0;
  PyEval_SaveThread();
  _next = Clock::now() + INTERVAL;
  return _has_raised;
}

}  // namespace engines::treesitter::python
