// See paths.h.
#include "index/paths.h"

#include <algorithm>
#include <array>

#include "engines/languages/languages.h"
#include "index/words.h"

namespace repository {
namespace {

// ---- Modules ----

// Files that stand for their folder, by their names without the suffix.
constexpr std::array<std::string_view, 3> FOLDERS_OWN = {"__init__", "__main__", "index"};
// First components that name no folder.
constexpr std::array<std::string_view, 4> ROOTS = {"crate", "self", "super", "@"};

void split(std::string_view text, std::string_view separators, Components& components) {
  while (!text.empty()) {
    const std::size_t end = std::min(text.find_first_of(separators), text.size());
    if (end > 0) components.emplace_back(text.substr(0, end));
    text.remove_prefix(std::min(end + 1, text.size()));
  }
}

std::string_view without_suffix(std::string_view path) {
  const std::size_t slash = path.rfind('/');
  const std::size_t stop = path.rfind('.');
  const bool has_suffix = stop != std::string_view::npos && stop > 0 && path[stop - 1] != '/' &&
                          path[stop - 1] != '.' &&
                          (slash == std::string_view::npos || stop > slash) &&
                          engines::languages::detect_language(std::string(path)).has_value();
  return has_suffix ? path.substr(0, stop) : path;
}

void drop_folders_own(Components& components) {
  if (components.size() < 2) return;
  const auto found = std::find(FOLDERS_OWN.begin(), FOLDERS_OWN.end(), components.back());
  if (found != FOLDERS_OWN.end()) components.pop_back();
}

// All at once: a module may be written as a megabyte of them.
void drop_roots(Components& components) {
  if (components.empty()) return;
  const auto first = std::find_if(components.begin(), components.end() - 1, [](const auto& each) {
    return std::find(ROOTS.begin(), ROOTS.end(), each) == ROOTS.end();
  });
  components.erase(components.begin(), first);
}

Components folder_of(std::string_view path) {
  Components components;
  const std::size_t slash = path.rfind('/');
  if (slash != std::string_view::npos) split(path.substr(0, slash), "/", components);
  return components;
}

std::string_view unquoted(std::string_view text) {
  constexpr std::string_view QUOTES = "\"'`<>;* ";
  const std::size_t begin = text.find_first_not_of(QUOTES);
  if (begin == std::string_view::npos) return {};
  return text.substr(begin, text.find_last_not_of(QUOTES) - begin + 1);
}

// "./a/../b" from a folder.
Components from_folder(std::string_view module, Components components) {
  Components parts;
  split(without_suffix(module), "/", parts);
  for (std::string& part : parts) {
    if (part == ".") continue;
    if (part != "..") {
      components.push_back(std::move(part));
    } else if (!components.empty()) {
      components.pop_back();
    }
  }
  drop_folders_own(components);
  return components;
}

// ".a" lies in the folder itself, "..a" in the one above it.
Components from_package(std::string_view module, Components components) {
  const std::size_t dots = std::min(module.find_first_not_of('.'), module.size());
  components.resize(components.size() - std::min(components.size(), dots - 1));
  split(module.substr(dots), ".", components);
  return components;
}

// ---- Tests ----

// Words in the name of a folder or file that mark a test: test_a.py, a.spec.ts, ATest.java.
constexpr std::array<std::string_view, 8> TEST_WORDS = {"test",  "tests",   "testing",  "spec",
                                                        "specs", "fixture", "fixtures", "mocks"};

bool is_test_word(std::string_view word) {
  return std::find(TEST_WORDS.begin(), TEST_WORDS.end(), folded(word)) != TEST_WORDS.end();
}

// A quick look for the beginnings of TEST_WORDS in any case: most paths have none.
bool may_have_test_word(std::string_view path) {
  constexpr std::array<std::string_view, 4> BEGINNINGS = {"test", "spec", "fixture", "mock"};
  const auto is_same = [](char one, char other) { return (one | 0x20) == other; };
  return std::any_of(BEGINNINGS.begin(), BEGINNINGS.end(), [&](std::string_view beginning) {
    return std::search(path.begin(), path.end(), beginning.begin(), beginning.end(), is_same) !=
           path.end();
  });
}

}  // namespace

Components file_components(std::string_view path) {
  Components components;
  split(without_suffix(path), "/", components);
  const bool is_rusts = path.ends_with("/mod.rs") || path.ends_with("/lib.rs");
  if (is_rusts && components.size() > 1) components.pop_back();
  drop_folders_own(components);
  return components;
}

Components module_components(std::string_view module, std::string_view asking_path) {
  module = unquoted(module);
  const bool has_slash = module.find('/') != std::string_view::npos;
  if (module == "." || module == ".." || module.starts_with("./") || module.starts_with("../")) {
    return from_folder(module, folder_of(asking_path));
  }
  if (module.starts_with('.') && !has_slash) return from_package(module, folder_of(asking_path));
  Components components;
  split(has_slash ? without_suffix(module) : module, has_slash ? "/" : ".:\\", components);
  drop_roots(components);
  drop_folders_own(components);
  return components;
}

bool ends_with(const Components& all, const Components& end) {
  return !end.empty() && end.size() <= all.size() &&
         std::equal(end.rbegin(), end.rend(), all.rbegin());
}

bool may_be(const Components& module, const Components& file) {
  if (ends_with(file, module)) return true;
  if (file.size() < 2) return false;
  if (ends_with(module, file)) return true;
  const Components folder(file.begin(), file.end() - 1);
  return ends_with(folder, module) || ends_with(module, folder);
}

// Split as a name: "latest" is no test, "__tests__" and "UserTest" are.
bool is_test_path(std::string_view path) {
  if (!may_have_test_word(path)) return false;
  const std::string words = words_of(path);
  std::string_view rest = words;
  while (!rest.empty()) {
    const std::size_t end = std::min(rest.find(' '), rest.size());
    if (is_test_word(rest.substr(0, end))) return true;
    rest.remove_prefix(std::min(end + 1, rest.size()));
  }
  return false;
}

}  // namespace repository
