// See trial.h.
#include "index/trial.h"

#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstring>

#include "index/packed_file.h"
#include "index/system_calls.h"

namespace repository {
namespace {

using engines::treesitter::ParseItem;
using engines::treesitter::ParseResult;
using engines::treesitter::TreeSitterEngine;

[[noreturn]] void try_parse(const TreeSitterEngine& engine, const ParseItem& item, pid_t parent) {
  // The child ends with its parent, and leaves no core file.
  ::prctl(PR_SET_PDEATHSIG, SIGKILL);
  if (::getppid() != parent) ::_exit(0);
  const rlimit no_core{0, 0};
  ::setrlimit(RLIMIT_CORE, &no_core);
  for (const int number : {SIGINT, SIGTERM, SIGHUP}) std::signal(number, SIG_DFL);
  auto outcome = engine.parse(item);
  try {
    if (auto* const result = std::get_if<ParseResult>(&outcome)) (void)pack(*result);
  } catch (const std::exception&) {  // for want of memory; the run will report it
  }
  ::_exit(0);
}

}  // namespace

std::optional<std::string> trial_death(const TreeSitterEngine& engine, const ParseItem& item,
                                       const std::vector<int>& to_close) {
  const pid_t parent = ::getpid();
  const pid_t child = ::fork();
  if (child < 0) throw_system_error("try again in a process of its own", item.path);
  if (child == 0) {
    for (const int descriptor : to_close) ::close(descriptor);
    try_parse(engine, item, parent);
  }
  int status = 0;
  if (retried([&] { return ::waitpid(child, &status, 0); }) < 0) {
    throw_system_error("wait for the trial of", item.path);
  }
  if (WIFEXITED(status) && WEXITSTATUS(status) == 0) return std::nullopt;
  if (!WIFSIGNALED(status)) {
    return "Parse error: the process that parsed it ended with status " +
           std::to_string(WEXITSTATUS(status));
  }
  const int number = WTERMSIG(status);
  return "Parse error: the process that parsed it was ended by signal " + std::to_string(number) +
         " (" + ::strsignal(number) + ")";
}

}  // namespace repository
