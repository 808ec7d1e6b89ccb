// What a file says in other places about which of its declarations are seen outside it: its lists
// of exports, and words that hide. Read once per file, in the languages that have such.
#pragma once

#include "engines/treesitter/visibility/export_lists.h"
#include "engines/treesitter/visibility/hiding_words.h"

namespace engines::treesitter {

class FileVisibility {
 public:
  explicit FileVisibility(const Node& root) : exports(root), hiding_words(root) {}

  const ExportList exports;
  const HidingWords hiding_words;
};

}  // namespace engines::treesitter
