// See job_source.h.
#include "tool/job_source.h"

#include <filesystem>
#include <system_error>
#include <utility>

namespace tool {
namespace {

// Follows links, since whoever names a link to a folder means the folder.
bool is_folder(const std::string& path) {
  std::error_code error;
  return std::filesystem::is_directory(path, error);
}

}  // namespace

JobSource::JobSource(const Arguments& arguments) : _paths(arguments.paths) {
  if (arguments.files_from) {
    _list.emplace(*arguments.files_from, arguments.null_separated ? '\0' : '\n');
  }
}

std::optional<Job> JobSource::next() {
  for (;;) {
    if (_walk) {
      if (auto found = _walk->next()) {
        return Job{std::move(found->path), Origin::found, std::move(found->error)};
      }
      _walk.reset();
    }
    auto job = next_named();
    if (!job || job->origin != Origin::named || !is_folder(job->path)) return job;
    _walk.emplace(job->path);
  }
}

std::optional<Job> JobSource::next_named() {
  if (_next_path < _paths.size()) {
    const std::string& path = _paths[_next_path++];
    const bool is_input = path == STANDARD_INPUT;
    return Job{path, is_input ? Origin::standard_input : Origin::named, std::nullopt};
  }
  if (!_list) return std::nullopt;
  auto path = _list->next();
  if (!path) return std::nullopt;
  return Job{*std::move(path), Origin::named, std::nullopt};
}

}  // namespace tool
