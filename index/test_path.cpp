// See test_path.h.
#include "index/test_path.h"

#include <algorithm>
#include <array>
#include <string>

#include "index/words.h"

namespace repository {
namespace {

// Words in the name of a folder or file that mark a test: test_a.py, a.spec.ts, ATest.java.
constexpr std::array<std::string_view, 8> WORDS = {"test",  "tests",   "testing",  "spec",
                                                   "specs", "fixture", "fixtures", "mocks"};

bool is_word(std::string_view word) {
  return std::find(WORDS.begin(), WORDS.end(), folded(word)) != WORDS.end();
}

// A quick look for the beginnings of WORDS in any case: most paths have none.
bool may_have_word(std::string_view path) {
  constexpr std::array<std::string_view, 4> BEGINNINGS = {"test", "spec", "fixture", "mock"};
  const auto is_same = [](char one, char other) { return (one | 0x20) == other; };
  return std::any_of(BEGINNINGS.begin(), BEGINNINGS.end(), [&](std::string_view beginning) {
    return std::search(path.begin(), path.end(), beginning.begin(), beginning.end(), is_same) !=
           path.end();
  });
}

}  // namespace

// Split as a name: "latest" is no test, "__tests__" and "UserTest" are.
bool is_test_path(std::string_view path) {
  if (!may_have_word(path)) return false;
  const std::string words = words_of(path);
  std::string_view rest = words;
  while (!rest.empty()) {
    const std::size_t end = std::min(rest.find(' '), rest.size());
    if (is_word(rest.substr(0, end))) return true;
    rest.remove_prefix(std::min(end + 1, rest.size()));
  }
  return false;
}

}  // namespace repository
