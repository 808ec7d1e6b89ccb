// See repository.h.
#include "walk/repository.h"

#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <string_view>
#include <utility>

#include "walk/git_config.h"
#include "walk/text_file.h"

namespace walk {
namespace {

constexpr std::string_view REDIRECTION = "gitdir:";

// In bytes: an index of ten million files. It is held only while it is read.
constexpr std::size_t MOST_INDEX = std::size_t{1} << 30;

std::string first_line(const std::string& text, std::size_t begin) {
  begin = std::min(text.find_first_not_of(' ', begin), text.size());
  return text.substr(begin, text.find_first_of("\r\n", begin) - begin);
}

std::string relative_to(const std::string& folder, const std::string& path) {
  return path.starts_with('/') ? path : folder + path;
}

IgnoreRules read_rules(const GitFile& file, Links links, int tolerated, bool folds_case,
                       std::vector<Found>& faults) {
  std::string text;
  const int error = read_text(file.folder, file.path, links, text);
  if (error == 0) return IgnoreRules::of_file(std::move(text), folds_case);
  if (!is_absence(error) && error != tolerated) {
    faults.push_back({file.shown + file.path, error, true});
  }
  return {};
}

// Messages print an absolute path as it is, and others behind `shown`.
GitFile file_at(int folder, const std::string& path, const std::string& shown) {
  return {folder, path, path.starts_with('/') ? "" : shown};
}

// The folder of what belongs to the working tree at `top` alone, with "/" at the end. In submodules
// and linked working trees `.git` is a file that names that folder.
std::string own_folder(int folder, const std::string& top) {
  std::string path = top + GIT_FOLDER;
  std::string text;
  if (read_text(folder, path, Links::followed, text) == 0 && text.starts_with(REDIRECTION)) {
    path = relative_to(top, first_line(text, REDIRECTION.size()));
  }
  return path + '/';
}

TrackedFiles read_tracked(const GitFile& index, std::size_t hash_size, std::vector<Found>& faults) {
  std::string bytes;
  int error = read_text(index.folder, index.path, Links::followed, bytes, MOST_INDEX);
  TrackedFiles tracked;
  if (error == 0) error = tracked.read(bytes, hash_size);
  if (error == 0) return tracked;
  if (!is_absence(error)) faults.push_back({index.shown + index.path, error, true});
  return {};
}

}  // namespace

std::optional<std::string> repository_above(const std::string& folder) {
  struct stat status {};
  if (::stat(folder.c_str(), &status) != 0) return std::nullopt;
  const dev_t device = status.st_dev;
  std::string path = folder + '/';
  for (;;) {
    const std::size_t slash =
        path.size() < 2 ? std::string::npos : path.rfind('/', path.size() - 2);
    if (slash == std::string::npos) return std::nullopt;
    path.resize(slash + 1);
    if (::stat(path.c_str(), &status) != 0 || status.st_dev != device) return std::nullopt;
    if (::stat((path + GIT_FOLDER).c_str(), &status) == 0) return path;
  }
}

std::string common_folder(int folder, const std::string& top) {
  std::string path = own_folder(folder, top);
  std::string text;
  if (read_text(folder, path + "commondir", Links::followed, text) == 0) {
    path = relative_to(path, first_line(text, 0)) + '/';
  }
  return path;
}

RepositoryRules read_repository(int folder, const std::string& top, const std::string& shown,
                                std::vector<Found>& faults) {
  const std::string common = common_folder(folder, top);
  const GitSettings settings = read_git_settings(file_at(folder, common + "config", shown), faults);
  RepositoryRules rules;
  rules.folds_case = settings.folds_case;
  rules.tracked = read_tracked(file_at(folder, own_folder(folder, top) + "index", shown),
                               settings.hash_size, faults);
  const bool is_default = !settings.excludes_file;
  std::string of_user = is_default ? in_user_settings("git/ignore") : *settings.excludes_file;
  if (!of_user.empty()) {
    of_user = relative_to(top, with_home(of_user));
    rules.of_user = read_rules(file_at(folder, of_user, shown), Links::followed,
                               is_default ? EACCES : 0, rules.folds_case, faults);
  }
  rules.of_repository = read_rules(file_at(folder, common + "info/exclude", shown), Links::followed,
                                   0, rules.folds_case, faults);
  return rules;
}

IgnoreRules read_ignore_file(int folder, const std::string& path, const std::string& shown,
                             bool folds_case, std::vector<Found>& faults) {
  return read_rules(file_at(folder, path, shown), Links::refused, 0, folds_case, faults);
}

}  // namespace walk
