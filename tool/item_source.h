// What is to be parsed, in order: the paths of the command line, then those of the list, and for a
// folder the files below it; or the contents that standard input holds.
//
// Tested by tests/tool_test.py.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "engines/treesitter/treesitter.h"
#include "tool/arguments.h"
#include "tool/content_stream.h"
#include "tool/path_list.h"
#include "walk/folder_walk.h"

namespace tool {

// One item at a time, found when asked for. For one thread at a time, but for what is said to be
// for any.
class ItemSource {
 public:
  // The arguments must outlive it. Throws PathListError.
  explicit ItemSource(const Arguments& arguments);

  // None at the end. What cannot be read, such as a folder, is an item with a failure. Reads
  // standard input, for which it may wait. Throws PathListError,
  // ContentStreamError, std::bad_alloc.
  std::optional<engines::treesitter::ParseItem> next();

  // How many items there are in all, as soon as that is known: at once when files alone were
  // named, otherwise once the last one was found. For any thread.
  std::optional<std::size_t> total() const;

  // What the folders held besides; complete at the end.
  const walk::LeftOut& left_out() const { return _left_out; }

 private:
  static constexpr std::size_t UNKNOWN = SIZE_MAX;

  std::optional<engines::treesitter::ParseItem> find();
  std::optional<engines::treesitter::ParseItem> next_found();
  std::optional<std::string> next_named();
  engines::treesitter::ParseItem item_at(std::string path) const;
  engines::treesitter::ParseItem standard_input() const;
  std::optional<engines::treesitter::ParseItem> next_content();

  const Arguments& _arguments;
  std::size_t _next_path = 0;
  std::optional<PathList> _list;
  std::optional<ContentStream> _contents;
  std::optional<walk::FolderWalk> _walk;  // of the folder that was named last
  walk::LeftOut _left_out;
  std::size_t _given = 0;
  std::atomic<std::size_t> _total = UNKNOWN;
};

}  // namespace tool
