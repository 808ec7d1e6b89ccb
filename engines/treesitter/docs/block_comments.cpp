// Documentation in block comments: finds the nearest doc comment above a declaration, and removes
// the decoration of a block comment.
//
// The search goes back over the siblings. It passes comments and text that did not parse, and ends
// at anything else. So it reads the comments between two declarations, and all searches in a file
// together read each comment once.
//
// Tested by tests/docs_test.cpp.
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "engines/treesitter/docs/trailing_comment.h"
#include "engines/treesitter/parsing/node.h"
#include "engines/treesitter/reading/source.h"
#include "engines/treesitter/text/text.h"
#include "engines/treesitter/treesitter.h"

namespace engines::treesitter {
namespace {

// The beginning of a doc comment.
constexpr std::string_view DOC_COMMENT_PREFIX = "/**";

// A comment behind one of these is the first in a body or in the file, and not about code before
// it.
constexpr std::string_view OPENINGS[] = {"{", "(", "[", "php_tag"};

// Whether the comment is about the code in front of it on its line. It is not if the declaration
// follows on the line on which it ends.
bool is_of_code_before(const Node& comment, const Node& declaration) {
  if (comment.end_row() == declaration.start_row() || !is_trailing(comment)) return false;
  const std::optional<Node> before = comment.previous_sibling();
  return before && !is_one_of(before->type_text(), OPENINGS);
}

// "/**" is removed first, so that "/" is left of "/**/", without an end to remove.
std::string_view without_delimiters(std::string_view text) {
  if (text.starts_with("/**")) {
    text.remove_prefix(3);
  } else if (text.starts_with("/*")) {
    text.remove_prefix(2);
  }
  if (text.ends_with("*/")) text.remove_suffix(2);
  return text;
}

// Only one asterisk is the margin. A second one is text.
std::string_view without_margin(std::string_view line) {
  line = trim(line);
  return line.starts_with('*') ? trim(line.substr(1)) : line;
}

}  // namespace

std::optional<std::string> TreeSitterEngine::_extract_preceding_block_comment(const Node& node,
                                                                              const Source& content,
                                                                              Above above) {
  std::string storage;
  for (auto prev = node.previous_sibling(); prev; prev = prev->previous_sibling()) {
    if (prev->type() == NodeType::error) continue;
    if (prev->type() != NodeType::comment) break;
    const std::string_view text = content.decoded(prev->start_byte(), prev->end_byte(), storage);
    if (above == Above::alone && is_of_code_before(*prev, node)) break;
    if (text.starts_with(DOC_COMMENT_PREFIX)) return _clean_block_comment(text).first;
  }
  return std::nullopt;
}

// Joins the lines to one text. An empty line gives two spaces in a row.
std::pair<std::optional<std::string>, bool> TreeSitterEngine::_clean_block_comment(
    std::string_view text) {
  std::string joined;
  for (const std::string_view line : split(without_delimiters(text), '\n')) {
    joined.append(without_margin(line)).push_back(' ');
  }
  auto [docstring, was_truncated] = _truncate_docstring(trim(joined));
  if (docstring.empty()) return {std::nullopt, was_truncated};
  return {std::move(docstring), was_truncated};
}

}  // namespace engines::treesitter
