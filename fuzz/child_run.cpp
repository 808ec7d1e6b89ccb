#include "fuzz/child_run.h"

#include <pthread.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <exception>
#include <system_error>

namespace engines::treesitter::fuzz {
namespace {

struct Job {
  std::string_view content;
  std::string_view language;
  Rules rules;
  std::string outcome;
};

std::string described(const ParseResult& result) {
  if (!result.errors.empty()) return result.errors.front();
  return "parsed: " + std::to_string(result.symbols.size()) + " symbols, " +
         std::to_string(result.references.size()) + " references";
}

void* parse(void* argument) {
  Job& job = *static_cast<Job*>(argument);
  try {
    const TreeSitterEngine engine(job.rules);
    job.outcome = described(engine.parse_content(job.content, job.language, "input"));
  } catch (const std::exception& error) {
    job.outcome = std::string("thrown: ") + error.what();
  }
  return nullptr;
}

void require(int error_number, const char* what) {
  if (error_number != 0) throw std::system_error(error_number, std::generic_category(), what);
}

void run_on_thread(Job& job, std::size_t stack_bytes) {
  pthread_attr_t attributes;
  require(pthread_attr_init(&attributes), "pthread_attr_init");
  if (stack_bytes != 0) {
    require(pthread_attr_setstacksize(&attributes, stack_bytes), "pthread_attr_setstacksize");
  }
  pthread_t thread;
  require(pthread_create(&thread, &attributes, parse, &job), "pthread_create");
  pthread_join(thread, nullptr);
  pthread_attr_destroy(&attributes);
}

// Bytes of the outcome's text that are handed on. They fit into the pipe, so that the child need
// not wait for a reader.
constexpr std::size_t MAX_TEXT = 1024;

[[noreturn]] void run_child(Job& job, std::size_t stack_bytes, int output) {
  const rlimit seconds = {MAX_SECONDS, MAX_SECONDS + 5};
  ::setrlimit(RLIMIT_CPU, &seconds);
  const rlimit no_core = {0, 0};
  ::setrlimit(RLIMIT_CORE, &no_core);
  int status = 1;
  try {
    run_on_thread(job, stack_bytes);
    const std::string text = job.outcome.substr(0, MAX_TEXT);
    if (::write(output, text.data(), text.size()) == static_cast<ssize_t>(text.size())) status = 0;
  } catch (...) {
  }
  ::_exit(status);
}

double seconds_of(const timeval& time) {
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) * 1e-6;
}

}  // namespace

ChildRun::ChildRun(std::string_view content, std::string_view language, std::size_t stack_bytes,
                   Rules rules) {
  std::array<int, 2> ends{};
  require(::pipe(ends.data()) == 0 ? 0 : errno, "pipe");
  _process = ::fork();
  require(_process >= 0 ? 0 : errno, "fork");
  if (_process == 0) {
    Job job = {content, language, rules, {}};
    run_child(job, stack_bytes, ends[1]);
  }
  ::close(ends[1]);
  _pipe = ends[0];
}

Outcome ChildRun::finish() {
  Outcome outcome;
  std::array<char, MAX_TEXT> buffer{};
  for (ssize_t count = 0; (count = ::read(_pipe, buffer.data(), buffer.size())) > 0;) {
    outcome.text.append(buffer.data(), static_cast<std::size_t>(count));
  }
  ::close(_pipe);
  int status = 0;
  rusage usage{};
  require(::wait4(_process, &status, 0, &usage) == _process ? 0 : errno, "wait4");
  if (WIFSIGNALED(status)) outcome.signal = WTERMSIG(status);
  if (WIFEXITED(status) && WEXITSTATUS(status) != 0) outcome.text = "the process failed";
  outcome.seconds = seconds_of(usage.ru_utime) + seconds_of(usage.ru_stime);
  outcome.bytes = static_cast<std::size_t>(usage.ru_maxrss) * 1024;
  return outcome;
}

}  // namespace engines::treesitter::fuzz
