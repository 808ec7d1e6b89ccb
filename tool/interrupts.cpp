// See interrupts.h. Handlers run on the main thread only, since the engine's threads block all
// signals. So what handlers read needs no lock.
#include "tool/interrupts.h"

#include <sys/signalfd.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <system_error>

namespace tool {
namespace {

constexpr std::array SIGNALS = {SIGINT, SIGTERM, SIGHUP};

volatile std::sig_atomic_t is_writing = 0;
volatile std::sig_atomic_t waiting = 0;  // the signal that came while writing, or 0
std::atomic<const char*> last_words = nullptr;

// Ends the process by the signal. Called in its handler, the signal takes effect when that returns.
void end_by(int number) {
  if (const char* const text = last_words) (void)!::write(STDERR_FILENO, text, std::strlen(text));
  std::signal(number, SIG_DFL);
  ::raise(number);
}

extern "C" void take_signal(int number) {
  const int error = errno;
  if (is_writing != 0 && waiting == 0) {
    waiting = number;
  } else {
    end_by(number);
  }
  errno = error;
}

}  // namespace

void catch_interrupts() {
  struct sigaction action {};
  action.sa_handler = take_signal;
  action.sa_flags = SA_RESTART;
  for (const int number : SIGNALS) {
    struct sigaction before {};
    ::sigaction(number, nullptr, &before);
    if (before.sa_handler != SIG_IGN) ::sigaction(number, &action, nullptr);
  }
}

int interrupts_as_descriptor() {
  sigset_t signals;
  ::sigemptyset(&signals);
  for (const int number : SIGNALS) {
    struct sigaction action {};
    ::sigaction(number, nullptr, &action);
    if (action.sa_handler != SIG_IGN) ::sigaddset(&signals, number);
  }
  const int descriptor = ::signalfd(-1, &signals, SFD_CLOEXEC | SFD_NONBLOCK);
  if (descriptor < 0 || ::sigprocmask(SIG_BLOCK, &signals, nullptr) != 0) {
    throw std::system_error(errno, std::generic_category(), "signals");
  }
  return descriptor;
}

WholeRecord::WholeRecord() { is_writing = 1; }

WholeRecord::~WholeRecord() {
  is_writing = 0;
  if (waiting != 0) end_by(waiting);
}

void set_last_words(const char* text) { last_words = text; }

}  // namespace tool
