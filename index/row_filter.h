// Which rows of an answer are wanted, and when a question has looked at enough.
//
// Tested by tests/questions_test.py.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "index/questions.h"
#include "index/reader.h"

namespace repository {

// Rows of one name that are looked at before it counts as one that everybody uses.
inline constexpr std::size_t MANY_ROWS = 512;

// Whether a glob names the path or a folder above it: with a slash from the root, else at any
// depth.
bool is_in(std::string_view path, std::string_view glob);

class RowFilter {
 public:
  // Throws QuestionError for a kind of symbols that there is not.
  RowFilter(Reader& reader, const Filter& filter);

  bool takes_file(std::int64_t file);
  bool takes_kind(std::uint8_t kind) const { return !_kind || *_kind == kind; }
  std::optional<std::uint8_t> kind() const { return _kind; }

  // The files that are wanted, when these are few: what everybody uses is then asked for file by
  // file. Reads the paths that may match, once, and so is for whoever has looked at many in vain.
  const std::optional<std::vector<std::int64_t>>& few_files();

  // Whether a question that has looked at so many, of which so many are wanted, may end: what was
  // looked at is enough to choose the best from, and there is something to show.
  bool is_enough(std::size_t looked_at, std::size_t wanted) const {
    return looked_at >= MOST_LOOKED_AT && wanted >= _filter.limit;
  }
  std::size_t limit() const { return _filter.limit; }

 private:
  static constexpr std::size_t MOST_LOOKED_AT = 2000;

  Reader& _reader;
  const Filter& _filter;
  std::optional<std::uint8_t> _kind;
  std::unordered_map<std::int64_t, bool> _files;
  bool _is_few_known = false;
  std::optional<std::vector<std::int64_t>> _few;
};

}  // namespace repository
