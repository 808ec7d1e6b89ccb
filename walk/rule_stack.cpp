// See rule_stack.h.
#include "walk/rule_stack.h"

#include <fcntl.h>

#include <cerrno>
#include <cstdlib>
#include <memory>
#include <utility>

#include "walk/wildmatch.h"

namespace walk {
namespace {

constexpr const char* GITIGNORE = RuleStack::NAMES[1];
constexpr const char* IGNORE = RuleStack::NAMES[2];

std::string real_path(const std::string& path) {
  const std::unique_ptr<char, void (*)(void*)> real(::realpath(path.c_str(), nullptr), std::free);
  return real != nullptr ? real.get() : "";
}

}  // namespace

void RuleStack::Seen::note(std::string_view name) {
  repository |= name == GIT_FOLDER;
  gitignore |= name == GITIGNORE;
  ignore |= name == IGNORE;
}

RuleStack::RuleStack(const WalkOptions& options)
    : _reads_files(!options.no_ignore), _globs(IgnoreRules::of_patterns(options.exclude)) {}

void RuleStack::add(IgnoreRules rules, bool is_git) {
  if (!rules.is_empty()) _files.push_back({std::move(rules), _way.size(), is_git});
}

void RuleStack::save() {
  _levels.push_back(
      {_way.size(), _files.size(), _first, _repositories.size(), _is_ignored, _folds_case});
}

void RuleStack::enter_first(int folder, const std::string& path, Seen seen,
                            std::vector<Found>& faults) {
  save();
  if (_reads_files && !seen.repository) read_above(path, faults);
  _globs_base = _way.size();
  read_rules(folder, path, seen, faults);
}

void RuleStack::enter(std::string_view name, int folder, const std::string& path, Seen seen,
                      std::vector<Found>& faults) {
  save();
  _is_ignored = judge(name, true) == Verdict::tracked;
  _way.append(name).append(1, '/');
  read_rules(folder, path, seen, faults);
}

void RuleStack::leave() {
  const Level& level = _levels.back();
  _way.resize(level.way_size);
  _files.resize(level.files);
  _first = level.first;
  _repositories.resize(level.repositories);
  _is_ignored = level.is_ignored;
  _folds_case = level.folds_case;
  _levels.pop_back();
}

void RuleStack::begin_repository(int folder, const std::string& top, const std::string& shown,
                                 std::vector<Found>& faults) {
  RepositoryRules rules = read_repository(folder, top, shown, faults);
  _first = _files.size();
  _repositories.push_back({std::move(rules.tracked), _way.size()});
  _is_ignored = false;
  _folds_case = rules.folds_case;
  add(std::move(rules.of_user));
  add(std::move(rules.of_repository));
}

// Reads the rules that apply above the first folder: from the top of its repository down to it, the
// folder itself left to read_rules().
void RuleStack::read_above(const std::string& path, std::vector<Found>& faults) {
  const std::string real = real_path(path);
  if (real.empty()) {
    faults.push_back({path, errno, true});
    return;
  }
  const auto top = repository_above(real);
  if (!top) return;
  begin_repository(AT_FDCWD, *top, "", faults);
  const std::string way = real.substr(top->size()) + '/';
  for (std::size_t end = 0; end < way.size(); end = way.find('/', end) + 1) {
    _way.assign(way, 0, end);
    read_rules(AT_FDCWD, *top + _way, {false, true, true}, faults);
  }
  _way = way;
}

// Reads the rules of the folder whose path is _way.
void RuleStack::read_rules(int folder, const std::string& path, Seen seen,
                           std::vector<Found>& faults) {
  if (!_reads_files) return;
  // Folders above the first one have no descriptor and are read by their paths.
  const std::string prefix = folder == AT_FDCWD ? path : "";
  const auto read = [&](const char* name, bool is_git) {
    add(read_ignore_file(folder, prefix + name, prefix.empty() ? path : "", _folds_case, faults),
        is_git);
  };
  if (seen.repository) begin_repository(folder, "", path, faults);
  if (seen.gitignore && !_repositories.empty()) read(GITIGNORE, true);
  if (seen.ignore) read(IGNORE, false);
}

RuleStack::Verdict RuleStack::judge(std::string_view name, bool is_folder) {
  if (_files.size() == _first && _globs.is_empty() && !_is_ignored) return Verdict::kept;
  const std::size_t size = _way.size();
  _way += name;
  const Verdict verdict = judge_way(is_folder);
  _way.resize(size);
  return verdict;
}

RuleStack::Verdict RuleStack::judge_way(bool is_folder) {
  switch (_globs.verdict(std::string_view(_way).substr(_globs_base), is_folder)) {
    case IgnoreRules::Verdict::ignored:
      return Verdict::excluded;
    case IgnoreRules::Verdict::included:
      return Verdict::kept;
    case IgnoreRules::Verdict::none:
      break;
  }
  return judge_by_files(is_folder);
}

// The strongest file with a matching pattern decides. But no pattern of git's keeps what lies in a
// folder that git ignores.
RuleStack::Verdict RuleStack::judge_by_files(bool is_folder) {
  std::string_view way = _way;
  if (_folds_case) {
    _folded = _way;
    fold_case(_folded, 0, _folded.size());
    way = _folded;
  }
  bool is_ignored = _is_ignored;
  for (std::size_t i = _files.size(); i-- > _first;) {
    const auto verdict = _files[i].rules.verdict(way.substr(_files[i].base), is_folder);
    if (verdict == IgnoreRules::Verdict::none) continue;
    const bool names_it = verdict == IgnoreRules::Verdict::ignored;
    if (!_files[i].is_git) return names_it ? Verdict::ignored : Verdict::kept;
    is_ignored |= names_it;
    break;
  }
  if (!is_ignored) return Verdict::kept;
  return is_tracked(is_folder) ? Verdict::tracked : Verdict::ignored;
}

bool RuleStack::is_tracked(bool is_folder) const {
  if (_repositories.empty()) return false;
  const Repository& repository = _repositories.back();
  const std::string_view way = std::string_view(_way).substr(repository.base);
  return is_folder ? repository.tracked.has_folder(way) : repository.tracked.has_file(way);
}

}  // namespace walk
