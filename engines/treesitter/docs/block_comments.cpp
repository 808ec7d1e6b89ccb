// Documentation in block comments: the nearest one above the declaration that begins as a doc
// comment does, and what is left of a block comment without its decoration.
//
// The search steps back over siblings: comments and pieces that did not parse are passed,
// everything else ends it. It reads the comments between two declarations, so that a file's
// declarations together read each comment once.
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

// What an accepted block comment begins with.
constexpr std::string_view DOC_COMMENT_PREFIX = "/**";

// What opens the body or the file that a comment behind it stands in.
constexpr std::string_view OPENINGS[] = {"{", "(", "[", "php_tag"};

// Whether the comment speaks of the code in front of it. Where the declaration follows on the same
// line, it does not.
bool is_of_code_before(const Node& comment, const Node& declaration) {
  if (comment.end_row() == declaration.start_row() || !is_trailing(comment)) return false;
  const std::optional<Node> before = comment.previous_sibling();
  return before && !is_one_of(before->type_text(), OPENINGS);
}

// "/**" is one opening, so that of "/**/" only the "/" is left and no closing is found in it.
std::string_view without_delimiters(std::string_view text) {
  if (text.starts_with("/**")) {
    text.remove_prefix(3);
  } else if (text.starts_with("/*")) {
    text.remove_prefix(2);
  }
  if (text.ends_with("*/")) text.remove_suffix(2);
  return text;
}

// One asterisk is the margin; a second one is the author's.
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

// Lines become one text. Empty lines stay, as two spaces in a row.
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
