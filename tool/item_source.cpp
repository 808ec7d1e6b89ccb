// See item_source.h.
#include "tool/item_source.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <filesystem>
#include <new>
#include <system_error>
#include <utility>

#include "engines/languages/languages.h"
#include "tool/descriptors.h"
#include "tool/record.h"

namespace tool {
namespace {

constexpr const char* FOLDER_WITH_LANGUAGE =
    "Failed to read folder: --language is for files, and this is a folder";

using engines::treesitter::FileReadError;
using engines::treesitter::ParseItem;

// Follows a symbolic link, since users who name one mean the folder.
bool is_folder(const std::string& path) {
  std::error_code error;
  return std::filesystem::is_directory(path, error);
}

// Links to folders in a list are left out. Such lists come from walks, and there a link leads to
// what is in the list anyway, or out of the folder, or makes a loop.
bool is_link(const std::string& path) {
  std::error_code error;
  return std::filesystem::is_symlink(path, error);
}

std::string file_failure(int error, const std::string& path) {
  return std::string("Failed to read file: ") + FileReadError(error, path).what();
}

std::string walk_failure(const walk::Found& found, const std::string& path) {
  const char* const what =
      found.is_rules ? "Failed to read ignore rules: " : "Failed to read folder: ";
  if (found.is_rules && found.error == EINVAL) {
    return what + std::string(FileReadError(found.error, path, "Not a regular file").what());
  }
  return what + std::string(FileReadError(found.error, path).what());
}

// In bytes, of input that may never end. The engine parses less than 4 GiB. A quarter of the room,
// since the text may be in memory twice while it grows, and the parse needs memory, too.
std::uint64_t most_content() {
  return std::min<std::uint64_t>(engines::treesitter::file_room() / 4, UINT32_MAX);
}

std::string too_large(std::uint64_t limit, const char* whose) {
  return "Failed to read file: more than the " + std::to_string(limit) + " bytes " + whose;
}

// Reads the descriptor to its end into the item, within the item's limits, or sets the failure.
void read_content(int descriptor, ParseItem& item) {
  const std::uint64_t limit = std::min(item.max_size, most_content());
  int error = 0;
  try {
    std::string content;
    // One byte more, to see that there is more.
    error = read_to_end(descriptor, content, limit + 1);
    if (error == 0) item.content = std::move(content);
  } catch (const std::bad_alloc&) {
    error = ENOMEM;
  }
  if (error != 0) {
    item.failure = file_failure(error, item.path);
  } else if (item.content->size() > limit) {
    item.content.reset();
    item.failure = too_large(
        limit, limit == item.max_size ? "of --max-filesize" : "that may be read into memory");
  }
}

// The engine detects no language for an item with a failure, so it is set where there may be one.
std::optional<std::string> detected(const std::string& path) {
  const auto language = engines::languages::detect_language(path);
  return language ? std::optional<std::string>(*language) : std::nullopt;
}

// Reads the file that the walk returned last, whose path is too long for the system.
void read_through_folder(walk::FolderWalk& walk, ParseItem& item) {
  item.language = detected(item.path);
  const OwnedDescriptor file(walk.open_last());
  struct stat status {};
  if (file.number() < 0 || ::fstat(file.number(), &status) != 0) {
    item.failure = file_failure(errno, item.path);
  } else if (!S_ISREG(status.st_mode)) {
    item.failure = std::string("Failed to read file: ") +
                   FileReadError(EINVAL, item.path, "Not a regular file").what();
  } else {
    read_content(file.number(), item);
  }
}

}  // namespace

ItemSource::ItemSource(const Arguments& arguments) : _arguments(arguments) {
  if (arguments.is_batch) {
    _contents.emplace(STDIN_FILENO, std::min(arguments.files.max_size, most_content()));
  } else if (arguments.files_from) {
    _list.emplace(*arguments.files_from, arguments.null_separated ? '\0' : '\n');
  } else if (std::none_of(arguments.paths.begin(), arguments.paths.end(), is_folder)) {
    _total = arguments.paths.size();
  }
}

std::optional<std::size_t> ItemSource::total() const {
  const std::size_t total = _total;
  return total == UNKNOWN ? std::nullopt : std::optional(total);
}

std::optional<ParseItem> ItemSource::next() {
  auto item = find();
  if (item) {
    ++_given;
  } else {
    _total = _given;
  }
  return item;
}

std::optional<ParseItem> ItemSource::find() {
  if (_contents) return next_content();
  for (;;) {
    if (auto item = next_found()) return item;
    const bool is_listed = _next_path == _arguments.paths.size();
    auto path = next_named();
    if (!path) return std::nullopt;
    if (!is_listed && *path == STANDARD_INPUT) return standard_input();
    const bool is_a_folder = is_folder(*path);  // asked once: there may be millions of files
    if (is_listed && is_a_folder && is_link(*path)) {
      ++_left_out.links;
      continue;
    }
    if (is_a_folder && !_arguments.language) {
      _walk.emplace(*path, _arguments.files.walk);
      continue;
    }
    ParseItem item = item_at(*std::move(path));
    if (is_a_folder) {
      item.failure = FOLDER_WITH_LANGUAGE;  // on the command line it was a usage error
    } else {
      item.language = _arguments.language;
    }
    return item;
  }
}

std::optional<std::string> ItemSource::next_named() {
  if (_next_path < _arguments.paths.size()) return _arguments.paths[_next_path++];
  return _list ? _list->next() : std::nullopt;
}

std::optional<ParseItem> ItemSource::next_found() {
  if (!_walk) return std::nullopt;
  auto found = _walk->next();
  if (!found) {
    _left_out += _walk->left_out();
    _walk.reset();
    return std::nullopt;
  }
  ParseItem item = item_at(std::move(found->path));
  item.declines_binary = true;
  if (found->error != 0) {
    item.failure = walk_failure(*found, item.path);
  } else if (item.path.size() >= PATH_MAX) {
    read_through_folder(*_walk, item);
  }
  return item;
}

ParseItem ItemSource::standard_input() const {
  ParseItem item = item_at(_arguments.stdin_path.value_or(STANDARD_INPUT));
  item.language = _arguments.language ? _arguments.language : detected(item.path);
  item.is_text = true;
  read_content(STDIN_FILENO, item);
  return item;
}

std::optional<ParseItem> ItemSource::next_content() {
  auto entry = _contents->next();
  if (!entry) return std::nullopt;
  ParseItem item = item_at(std::move(entry->path));
  item.language = _arguments.language;
  item.content = std::move(entry->content);
  if (item.content) return item;
  item.content.emplace();
  if (!item.language) item.language = detected(item.path);
  if (item.language) {
    item.failure = entry->size > item.max_size
                       ? repository::too_large_text(entry->size, item.max_size)
                       : too_large(most_content(), "that may be read into memory");
  }
  return item;
}

ParseItem ItemSource::item_at(std::string path) const {
  ParseItem item{.path = std::move(path)};
  item.max_size = _arguments.files.max_size;
  item.declines_binary = _arguments.skips_binary;
  return item;
}

}  // namespace tool
