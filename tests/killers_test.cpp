// The killers, which killers/make_killers.py makes. Each is parsed in a process of its own, on a
// thread with a stack of 64 KiB, within the bounds of time and memory, and has the outcome of its
// row.
//
// A separate program with one thread, since it forks.
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <optional>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "engines/treesitter/navigation/grammar_rows.h"
#include "engines/treesitter/text/hash.h"
#include "fuzz/child_run.h"
#include "tests/support/sanitizers.h"

namespace engines::treesitter::fuzz {
namespace {

bool is_guard(const std::string& text) { return text.starts_with("Parse error: "); }

struct Killer {
  std::string file;
  std::string language;
  std::string expected;
  Rules rules = Rules::standard;
};

void PrintTo(const Killer& killer, std::ostream* output) { *output << killer.file; }

// The same killer under the navigation rules, where any answer will do. None where the language has
// no such rules, or a guard ends the parse before any rule.
std::optional<Killer> navigated(Killer killer) {
  if (!is_navigated(killer.language)) return std::nullopt;
  if (killer.expected == "a guard" || is_guard(killer.expected)) return std::nullopt;
  killer.rules = Rules::navigation;
  killer.expected = "an answer";
  return killer;
}

std::vector<Killer> killers() {
  std::vector<Killer> all;
  std::ifstream index(KILLERS_DIR "/index.tsv");
  for (std::string line; std::getline(index, line);) {
    std::istringstream columns(line);
    Killer killer;
    std::getline(columns, killer.file, '\t');
    std::getline(columns, killer.language, '\t');
    std::getline(columns, killer.expected);
    all.push_back(killer);
    if (auto other = navigated(killer)) all.push_back(std::move(*other));
  }
  return all;
}

std::string bytes_of(const Killer& killer) {
  std::ifstream file(KILLERS_DIR "/" + killer.file, std::ios::binary);
  EXPECT_TRUE(file.good()) << killer.file;
  return {std::istreambuf_iterator<char>(file), {}};
}

bool is_answer(const std::string& text) {
  return is_guard(text) || text.starts_with("parsed: ") || text.starts_with("thrown: ");
}

void expect_outcome(const Killer& killer, const Outcome& outcome) {
  EXPECT_EQ(outcome.signal, 0);
  if (!has_usual_speed() || killer.expected == "an answer") {
    EXPECT_TRUE(is_answer(outcome.text)) << outcome.text;
  } else if (killer.expected == "a guard") {
    EXPECT_TRUE(is_guard(outcome.text)) << outcome.text;
  } else {
    EXPECT_EQ(outcome.text, killer.expected);
  }
}

class KillersTest : public testing::TestWithParam<Killer> {};

TEST_P(KillersTest, IsAnsweredWithinTheBounds) {
  const Killer& killer = GetParam();
  const std::string content = bytes_of(killer);
  ChildRun run(content, killer.language, IS_SANITIZED ? 0 : 64 * 1024, killer.rules);
  const Outcome outcome = run.finish();
  expect_outcome(killer, outcome);
  if (IS_SANITIZED) return;
  EXPECT_LE(outcome.bytes, allowed_bytes(content.size()));
  if (!has_usual_speed()) return;
  EXPECT_LE(outcome.seconds, allowed_seconds(content.size()));
}

std::string test_name(const testing::TestParamInfo<Killer>& info) {
  std::string name = info.param.file;
  std::replace(name.begin(), name.end(), '.', '_');
  return name + (info.param.rules == Rules::standard ? "" : "_navigation");
}

INSTANTIATE_TEST_SUITE_P(Killers, KillersTest, testing::ValuesIn(killers()), test_name);

// ---- The hash of names ----

std::size_t hash_in_a_process_of_its_own(std::string_view text) {
  int ends[2];
  if (::pipe(ends) != 0) return 0;
  const pid_t child = ::fork();
  if (child == 0) {
    const std::size_t hash = hash_of(text);
    ::_exit(::write(ends[1], &hash, sizeof hash) == sizeof hash ? 0 : 1);
  }
  std::size_t hash = 0;
  EXPECT_EQ(::read(ends[0], &hash, sizeof hash), static_cast<ssize_t>(sizeof hash));
  for (const int end : ends) ::close(end);
  ::waitpid(child, nullptr, 0);
  return hash;
}

// So that nobody can write a file whose names all share a bucket.
TEST(HashTest, IsAnotherOneInEachProcess) {
  EXPECT_NE(hash_in_a_process_of_its_own("name"), hash_in_a_process_of_its_own("name"));
}

}  // namespace
}  // namespace engines::treesitter::fuzz
