// Documentation in a run of comments above a declaration, in Go, Rust, C# and Ruby.
//
// The search goes back over the siblings and calls the language's handler for each comment. The
// handler adds the comment's text and decides whether the search goes on. A run ends at the
// previous declaration, so all searches in a file together read each comment once.
//
// Tested by tests/docs_test.cpp.
#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "engines/treesitter/docs/trailing_comment.h"
#include "engines/treesitter/parsing/node.h"
#include "engines/treesitter/reading/source.h"
#include "engines/treesitter/text/text.h"
#include "engines/treesitter/treesitter.h"

namespace engines::treesitter {
namespace {

// The types of comments.
constexpr std::array GO_COMMENTS{NodeType::comment};
constexpr std::array RUST_COMMENTS{NodeType::line_comment, NodeType::block_comment};
constexpr std::array CSHARP_COMMENTS{NodeType::comment};
constexpr std::array RUBY_COMMENTS{NodeType::comment};

// Nodes that a run of comments may contain: line ends, for which none of our grammars has nodes,
// and text that did not parse.
constexpr std::array SEPARATORS{NodeType::newline, NodeType::error};

// The beginnings of lines of Ruby comments that are for tools.
constexpr std::string_view RUBY_DIRECTIVES[] = {
    ":nodoc:", "rubocop:",     "frozen_string_literal:",    "encoding:",
    "coding:", "warn_indent:", "shareable_constant_value:", "typed:",
};

// Removed from a line of C#, at any place, in this order. The third has no closing bracket, so that
// `name="x">` is left of `<param name="x">`.
constexpr std::string_view CSHARP_TAGS[] = {
    "<summary>", "</summary>", "<param ",   "</param>",
    "<returns>", "</returns>", "<remarks>", "</remarks>",
};

// The texts of the comments of one declaration. The search goes upwards, so each text comes before
// those found already. They are kept in the order of the search and joined from the back: 100,000
// insertions at the front of a list would move five thousand million texts.
class Collected {
 public:
  void insert_at_front(std::string_view text) { _from_last_to_first.emplace_back(text); }

  // All texts from the top line down, with a space between them.
  std::string joined() const {
    std::string text;
    for (auto it = _from_last_to_first.rbegin(); it != _from_last_to_first.rend(); ++it) {
      if (it != _from_last_to_first.rbegin()) text.push_back(' ');
      text.append(*it);
    }
    return text;
  }

 private:
  std::vector<std::string> _from_last_to_first;
};

std::string without_each(std::string_view text, std::string_view piece) {
  std::string rest;
  std::size_t begin = 0;
  for (std::size_t found = text.find(piece); found != std::string_view::npos;
       found = text.find(piece, begin)) {
    rest.append(text.substr(begin, found - begin));
    begin = found + piece.size();
  }
  return rest.append(text.substr(begin));
}

// The text without each part from a `<` to the next `>`.
std::string without_tags(std::string_view text) {
  std::string rest;
  std::size_t begin = 0;
  while (true) {
    const std::size_t open = text.find('<', begin);
    if (open == std::string_view::npos) break;
    const std::size_t close = text.find('>', open);
    if (close == std::string_view::npos) break;
    rest.append(text.substr(begin, open - begin));
    begin = close + 1;
  }
  return rest.append(text.substr(begin));
}

// The text that replaces a tag: "T" for `<see cref="T"/>`, "n: " for `<param name="n">`.
std::string said_by(std::string_view tag) {
  for (const std::string_view attribute : {" cref=\"", " name=\""}) {
    const std::size_t found = tag.find(attribute);
    if (found == std::string_view::npos) continue;
    const std::string_view value = tag.substr(found + attribute.size());
    const std::string said(value.substr(0, value.find('"')));
    return tag.ends_with('/') ? said : said + ": ";
  }
  return {};
}

// The text with each tag replaced. A `<` that begins no tag is text.
std::string without_markup(std::string_view text) {
  std::string rest;
  while (true) {
    const std::size_t open = text.find('<');
    rest.append(text.substr(0, open));
    if (open == std::string_view::npos) return rest;
    text.remove_prefix(open + 1);
    const bool is_tag = !text.empty() && (text[0] == '/' || is_word(code_point_at(text, 0).value));
    const std::size_t close = is_tag ? text.find('>') : std::string_view::npos;
    if (close == std::string_view::npos) {
      rest.push_back('<');
      if (is_tag) return rest.append(text);
    } else {
      rest.append(said_by(text.substr(0, close)));
      text.remove_prefix(close + 1);
    }
  }
}

}  // namespace

// `comment_types` is a range of node types. `handler(text, comment, collected)` returns whether to
// go on. It may have state.
template <typename CommentTypes, typename Handler>
std::optional<std::string> TreeSitterEngine::_collect_preceding_comments(
    const Node& node, const Source& content, const CommentTypes& comment_types, Handler handler,
    Above above) {
  Collected comments;
  std::string storage;
  std::uint32_t row_below = node.start_row();
  for (auto prev = node.previous_sibling(); prev; prev = prev->previous_sibling()) {
    if (is_one_of(prev->type(), comment_types)) {
      if (above == Above::directly) {
        if (prev->end_row() + 1 < row_below || is_trailing(*prev)) break;
        row_below = prev->start_row();
      }
      const std::string_view text = content.decoded(prev->start_byte(), prev->end_byte(), storage);
      if (!handler(text, *prev, comments)) break;
    } else if (!is_one_of(prev->type(), SEPARATORS)) {
      break;
    }
  }
  const std::string joined = comments.joined();
  std::string docstring = _truncate_docstring(trim(joined)).first;
  if (docstring.empty()) return std::nullopt;
  return docstring;
}

std::optional<std::string> TreeSitterEngine::_extract_go_doc(const Node& node,
                                                             const Source& content) {
  const auto handler = [](std::string_view text, const Node&, Collected& collected) {
    if (text.starts_with("//")) {
      collected.insert_at_front(trim(text.substr(2)));
    } else if (text.starts_with("/*")) {
      if (const auto cleaned = _clean_block_comment(text).first) {
        collected.insert_at_front(*cleaned);
      }
    }
    return true;
  };
  return _collect_preceding_comments(node, content, GO_COMMENTS, handler);
}

// Every block comment counts, whether or not it is a doc comment. Ordinary line comments do not.
std::optional<std::string> TreeSitterEngine::_extract_rust_doc(const Node& node,
                                                               const Source& content) {
  const auto handler = [](std::string_view text, const Node&, Collected& collected) {
    if (text.starts_with("///") || text.starts_with("//!")) {
      collected.insert_at_front(trim(text.substr(3)));
    } else if (text.starts_with("/*")) {
      if (const auto cleaned = _clean_block_comment(text).first) {
        collected.insert_at_front(*cleaned);
      }
    }
    return true;
  };
  return _collect_preceding_comments(node, content, RUST_COMMENTS, handler);
}

std::optional<std::string> TreeSitterEngine::_extract_csharp_doc(const Node& node,
                                                                 const Source& content) {
  const auto handler = [](std::string_view text, const Node&, Collected& collected) {
    if (!text.starts_with("///")) return true;
    std::string line(trim(text.substr(3)));
    for (const std::string_view tag : CSHARP_TAGS) line = without_each(line, tag);
    line = without_tags(line);
    if (const std::string_view trimmed = trim(line); !trimmed.empty()) {
      collected.insert_at_front(trimmed);
    }
    return true;
  };
  return _collect_preceding_comments(node, content, CSHARP_COMMENTS, handler);
}

// Lines of `///` and blocks of `/**`, with the text of their markup.
std::optional<std::string> TreeSitterEngine::_extract_xml_doc(const Node& node,
                                                              const Source& content) {
  const auto handler = [](std::string_view text, const Node& comment, Collected& collected) {
    std::optional<std::string> block;
    if (text.starts_with("///") && is_trailing(comment)) return false;
    if (text.starts_with("/**") && !text.starts_with("/***") && text != "/**/") {
      block = _clean_block_comment(text).first;
    } else if (text.starts_with("///") && !text.starts_with("////")) {
      block = text.substr(3);
    }
    const std::string plain = without_markup(block.value_or(""));
    if (!trim(plain).empty()) collected.insert_at_front(trim(plain));
    return true;
  };
  return _collect_preceding_comments(node, content, CSHARP_COMMENTS, handler);
}

// Only blank rows between comments end the run, not those between the last comment and the
// declaration. A comment that is left out does not count as one of the rows.
std::optional<std::string> TreeSitterEngine::_extract_ruby_doc(const Node& node,
                                                               const Source& content) {
  return _extract_ruby_doc(node, content, Above::anywhere);
}

std::optional<std::string> TreeSitterEngine::_extract_ruby_doc(const Node& node,
                                                               const Source& content, Above above) {
  std::optional<std::uint32_t> last_comment_line;
  const auto handler = [&](std::string_view text, const Node& comment, Collected& collected) {
    const std::int64_t comment_end_line = comment.end_row();
    if (last_comment_line && *last_comment_line - comment_end_line > 1) return false;
    if (!text.starts_with('#')) return true;
    // Two hash signs begin a block for Ruby's own documentation tools.
    const bool is_opening = above == Above::directly && text.starts_with("##");
    const std::string_view stripped = trim(text.substr(is_opening ? 2 : 1));
    // A shebang, or a line that sets the editor's mode or the encoding.
    if (stripped.starts_with('!') || stripped.starts_with("-*-")) return true;
    const auto begins_line = [&](std::string_view mark) { return stripped.starts_with(mark); };
    const bool is_said =
        above == Above::anywhere ||
        std::none_of(std::begin(RUBY_DIRECTIVES), std::end(RUBY_DIRECTIVES), begins_line);
    if (is_said) collected.insert_at_front(stripped);
    last_comment_line = comment.start_row();
    return true;
  };
  return _collect_preceding_comments(node, content, RUBY_COMMENTS, handler, above);
}

}  // namespace engines::treesitter
