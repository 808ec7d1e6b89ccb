// The items of a run in their order: the paths of the command line, then those of the list, with
// the files below it for a folder; or the contents that --batch reads from standard input.
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

// For one thread at a time, except for total().
class ItemSource {
 public:
  // The arguments must outlive it. Throws std::runtime_error when the list cannot be opened.
  explicit ItemSource(const Arguments& arguments);

  // The next item, found only now; none at the end. A folder or other thing that cannot be read is
  // an item with a failure. May wait for standard input. Throws std::runtime_error when the list or
  // the stream of contents cannot be read, std::bad_alloc.
  std::optional<engines::treesitter::ParseItem> next();

  // How many items there are in all. Known from the beginning when only files were named, otherwise
  // once next() has returned none. For any thread.
  std::optional<std::size_t> total() const;

  // What was left out in folders; complete at the end.
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
  std::optional<walk::FolderWalk> _walk;  // of the named folder, while its files are returned
  walk::LeftOut _left_out;
  std::size_t _given = 0;
  std::atomic<std::size_t> _total = UNKNOWN;
};

}  // namespace tool
