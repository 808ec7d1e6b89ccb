// Which rows a question wants, and when it has looked at enough of them.
//
// Cost: each file is judged once; few_files() reads paths.
//
// Tested by tests/questions_test.py and tests/index_test.cpp.
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

// After so many rows of one name it is worth asking for few_files().
inline constexpr std::size_t MANY_ROWS = 512;

// Whether a glob names the path or a folder above it. A glob with a slash starts at the root, one
// without may stand at any depth.
bool is_in(std::string_view path, std::string_view glob);

class RowFilter {
 public:
  // Throws QuestionError for a kind of symbols that does not exist. Both must outlive this.
  RowFilter(Reader& reader, const Filter& filter);

  bool takes_file(std::int64_t file);
  bool takes_kind(std::uint8_t kind) const { return !_kind || *_kind == kind; }
  std::optional<std::uint8_t> kind() const { return _kind; }

  // The files that are wanted; none when these are more than a thousand, or all. A name that is
  // used everywhere can then be asked for in each of them. The first call reads all paths that may
  // match, which pays only after many rows were looked at.
  const std::optional<std::vector<std::int64_t>>& few_files();

  // Whether a question may end that has looked at so many rows, of which so many are wanted: there
  // are as many as the limit allows, and enough to choose the best from.
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
