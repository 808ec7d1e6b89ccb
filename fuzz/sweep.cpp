// The sweep: parses each token of each grammar many times in a row, alone and together with common
// openers, each case in its own process.
//
//   sweep [--jobs N] [--every N] [--language NAME] [--stack BYTES] [--thorough] [--print]
//         [--rules standard|navigation]
//
// It finds hostile files that fuzzing of bytes never finds: single tokens, repeated up to 3 kB,
// once gave 16 aborts and 1,485 slow parses in 9,833 cases. Prints for each language how the parses
// ended, the slowest, the largest, and each case that broke a bound or ended by a signal; if there
// is one the status is 1. `--every 100` takes a hundredth of the cases, `--print` prints each case.
// All cases take about an hour of one processor. A case that it finds gets a row in
// tests/killers/make_killers.py.
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "engines/languages/languages.h"
#include "fuzz/child_run.h"
#include "fuzz/grammar_tokens.h"

namespace engines::treesitter::fuzz {
namespace {

struct Options {
  std::size_t jobs = 1;
  std::size_t every = 1;
  std::string language;  // empty for all
  std::size_t stack_bytes = 64 * 1024;
  bool is_thorough = false;
  bool prints_all = false;
  Rules rules = Rules::standard;
};

struct Case {
  std::string_view language;
  std::string start;     // once
  std::string repeated;  // up to the size
  std::size_t size;

  std::string content() const {
    std::string text(preamble(language));
    text += start;
    while (text.size() + repeated.size() <= size) text += repeated;
    return text;
  }
};

constexpr std::size_t SMALL = 3'000;
constexpr std::size_t LARGE = 30'000;

bool is_word(std::string_view token) {
  return std::all_of(token.begin(), token.end(), [](unsigned char byte) {
    return std::isalnum(byte) != 0 || byte == '_' || byte == ' ';
  });
}

// Each token repeated alone, in both sizes, and repeated together with each opener, in the small
// size. The most common openers also stand once before many of the token, and together with it in
// the large size; that leaves out words unless the sweep is thorough, since there are a thousand
// and most grammars read them alike.
std::vector<Case> cases_of(std::string_view language, bool is_thorough) {
  const std::vector<std::string>& openers = common_openers();
  std::vector<std::string> tokens = grammar_tokens(language);
  tokens.insert(tokens.end(), openers.begin(), openers.end());
  std::vector<Case> cases;
  for (const std::string& token : tokens) {
    cases.push_back({language, "", token, SMALL});
    cases.push_back({language, "", token, LARGE});
    for (std::size_t i = 0; i < openers.size(); ++i) {
      cases.push_back({language, "", openers[i] + token, SMALL});
      if (i >= COMMONEST_OPENERS) continue;
      cases.push_back({language, openers[i], token, SMALL});
      if (!is_thorough && is_word(token)) continue;
      cases.push_back({language, "", openers[i] + token, LARGE});
    }
  }
  return cases;
}

struct Done {
  Case which;
  Outcome outcome;
};

std::string printable(std::string_view text) {
  std::string shown;
  for (const char byte : text) {
    if (byte == '\n') {
      shown += "\\n";
    } else if (byte == '\r') {
      shown += "\\r";
    } else if (byte == '\t') {
      shown += "\\t";
    } else {
      shown += byte;
    }
  }
  return shown;
}

void print(const Done& done) {
  std::cout << done.which.language << '\t' << done.which.size << '\t' << done.outcome.seconds
            << " s\t" << (done.outcome.bytes >> 10) << " KiB\tsignal " << done.outcome.signal
            << "\t'" << printable(done.which.start) << "' + '" << printable(done.which.repeated)
            << "' ...\t" << printable(done.outcome.text) << '\n';
}

bool is_within_bounds(const Done& done) {
  return done.outcome.signal == 0 && done.outcome.seconds <= allowed_seconds(done.which.size) &&
         done.outcome.bytes <= allowed_bytes(done.which.size);
}

// The heading that an outcome is counted under: its text without sizes and details.
std::string kind_of(const Outcome& outcome) {
  if (outcome.signal != 0) return "signal " + std::to_string(outcome.signal);
  if (outcome.text.starts_with("parsed")) return "parsed";
  return outcome.text.substr(0, outcome.text.find(" ("));
}

// Runs the cases, `jobs` of them at a time, and gives their outcomes.
std::vector<Done> run(const std::vector<Case>& cases, const Options& options) {
  struct Running {
    ChildRun child;
    std::size_t index;
  };
  std::vector<Running> running;
  std::vector<Done> done;
  std::size_t next = 0;
  while (next < cases.size() || !running.empty()) {
    while (next < cases.size() && running.size() < options.jobs) {
      const Case& which = cases[next];
      running.push_back(
          {ChildRun(which.content(), which.language, options.stack_bytes, options.rules), next});
      ++next;
    }
    siginfo_t ended{};
    if (::waitid(P_ALL, 0, &ended, WEXITED | WNOWAIT) != 0) std::abort();
    const auto finished = std::find_if(running.begin(), running.end(), [&](const Running& each) {
      return each.child.process() == ended.si_pid;
    });
    done.push_back({cases[finished->index], finished->child.finish()});
    running.erase(finished);
    if (options.prints_all) print(done.back());
  }
  return done;
}

void print_most(std::vector<Done>& done, const char* title, auto measure) {
  constexpr std::size_t SHOWN = 4;
  const std::size_t shown = std::min(SHOWN, done.size());
  std::partial_sort(
      done.begin(), done.begin() + static_cast<std::ptrdiff_t>(shown), done.end(),
      [&](const Done& left, const Done& right) { return measure(left) > measure(right); });
  std::cout << "--- " << title << '\n';
  for (std::size_t i = 0; i < shown; ++i) print(done[i]);
}

// Gives whether all cases kept the bounds.
bool report(std::vector<Done>& done) {
  print_most(done, "slowest", [](const Done& each) { return each.outcome.seconds; });
  print_most(done, "largest", [](const Done& each) { return each.outcome.bytes; });
  std::map<std::string, std::size_t> kinds;
  for (const Done& each : done) ++kinds[kind_of(each.outcome)];
  std::cout << "--- outcomes of " << done.size() << " cases\n";
  for (const auto& [kind, count] : kinds) std::cout << count << '\t' << kind << '\n';
  std::cout << "--- out of bounds\n";
  bool is_clean = true;
  for (const Done& each : done) {
    if (is_within_bounds(each)) continue;
    is_clean = false;
    print(each);
  }
  return is_clean;
}

Options options_of(int count, char** arguments) {
  Options options;
  for (int i = 1; i < count; ++i) {
    const std::string_view name = arguments[i];
    const char* const value = i + 1 < count ? arguments[i + 1] : "";
    if (name == "--print" || name == "--thorough") {
      (name == "--print" ? options.prints_all : options.is_thorough) = true;
      continue;
    }
    const std::size_t number = std::strtoul(value, nullptr, 10);
    if (name == "--language") {
      options.language = value;
    } else if (name == "--rules" && value == std::string_view("navigation")) {
      options.rules = Rules::navigation;
    } else if (name == "--stack") {
      options.stack_bytes = number;
    } else if (name == "--jobs" && number > 0) {
      options.jobs = number;
    } else if (name == "--every" && number > 0) {
      options.every = number;
    } else {
      std::cerr << "sweep: cannot take " << name << ' ' << value << '\n';
      std::exit(2);
    }
    ++i;
  }
  return options;
}

// Gives whether all cases of the language kept the bounds.
bool sweep(std::string_view language, const Options& options) {
  std::vector<Case> cases = cases_of(language, options.is_thorough);
  // The same sample each time, and by chance: each n-th case would often have the same opener.
  std::minstd_rand random(1);
  std::erase_if(cases, [&](const Case&) { return random() % options.every != 0; });
  std::cout << "=== " << language << ": " << cases.size() << " cases\n";
  std::vector<Done> done = run(cases, options);
  const bool is_clean = report(done);
  std::cout.flush();
  return is_clean;
}

// In a process of its own, so that the memory of a parse does not hold the tables of other
// languages.
bool sweep_alone(std::string_view language, const Options& options) {
  const pid_t child = ::fork();
  if (child == 0) ::_exit(sweep(language, options) ? 0 : 1);
  int status = 0;
  return ::waitpid(child, &status, 0) == child && status == 0;
}

}  // namespace
}  // namespace engines::treesitter::fuzz

int main(int count, char** arguments) {
  using namespace engines::treesitter::fuzz;
  const Options options = options_of(count, arguments);
  bool is_clean = true;
  for (const std::string_view language : engines::languages::language_names()) {
    if (!options.language.empty() && options.language != language) continue;
    is_clean = sweep_alone(language, options) && is_clean;
  }
  return is_clean ? 0 : 1;
}
