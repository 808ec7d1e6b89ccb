// Which function reads the documentation of a language under the standard rules; Python's
// docstrings; and the cut to the greatest length.
//
// Python's documentation is the string at the start of a body. That of other languages is in
// comments above the declaration (block_comments.cpp, comment_runs.cpp). Comments and strings are
// decoded with replacement, so that an ill-formed byte becomes one U+FFFD and no error.
//
// Tested by tests/docs_test.cpp.
#include <algorithm>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "engines/treesitter/parsing/node.h"
#include "engines/treesitter/reading/source.h"
#include "engines/treesitter/text/text.h"
#include "engines/treesitter/treesitter.h"

namespace engines::treesitter {
namespace {

// The types of a Python body that is not under the field `body`.
constexpr NodeType PYTHON_BODY_TYPES[] = {NodeType::block, NodeType::class_body, NodeType::suite};

// The order decides which prefix is removed, so the longer ones come first.
constexpr std::string_view BASE_PREFIXES[] = {"fr", "rf", "br", "rb", "r", "f", "b", "u"};

constexpr std::string_view TRIPLE_QUOTES[] = {R"(""")", "'''"};
constexpr std::string_view SINGLE_QUOTES[] = {R"(")", "'"};

std::optional<Node> first_child_of(const Node& node) {
  if (!node.has_children()) return std::nullopt;
  return *node.children().begin();
}

std::optional<Node> python_body(const Node& node) {
  if (const std::optional<Node> body = node.child_by_field(Field::body)) return body;
  for (const Node child : node.children()) {
    if (is_one_of(child.type(), PYTHON_BODY_TYPES)) return child;
  }
  return std::nullopt;
}

bool starts_with_ignoring_case(std::string_view text, std::string_view lower_case) {
  if (text.size() < lower_case.size()) return false;
  return std::equal(lower_case.begin(), lower_case.end(), text.begin(), [](char lower, char c) {
    return lower == (c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c);
  });
}

// Three quotes begin with one, so these two tests suffice.
bool starts_with_quote(std::string_view text) {
  return text.starts_with('"') || text.starts_with('\'');
}

std::string_view without_prefix(std::string_view text) {
  for (const std::string_view prefix : BASE_PREFIXES) {
    if (!starts_with_ignoring_case(text, prefix)) continue;
    const std::string_view rest = text.substr(prefix.size());
    if (starts_with_quote(rest)) return rest;
  }
  return text;
}

// The text without its first and last `count` bytes; empty if it has fewer.
std::string_view without_ends(std::string_view text, std::size_t count) {
  return text.size() < 2 * count ? std::string_view() : text.substr(count, text.size() - 2 * count);
}

// A text may be too short for both delimiters: `'''` begins and ends with three quotes, and is
// empty.
std::string_view without_quotes(std::string_view text) {
  for (const std::string_view quotes : TRIPLE_QUOTES) {
    if (text.starts_with(quotes) && text.ends_with(quotes)) {
      return without_ends(text, quotes.size());
    }
  }
  for (const std::string_view quote : SINGLE_QUOTES) {
    if (text.starts_with(quote) && text.ends_with(quote)) return without_ends(text, quote.size());
  }
  return text;
}

}  // namespace

std::optional<std::string> TreeSitterEngine::_extract_docstring(const Node& node,
                                                                const Source& content,
                                                                std::string_view language) {
  using Extract = std::optional<std::string> (*)(const Node&, const Source&);
  struct Row {
    std::string_view language;
    Extract extract;
  };
  constexpr Extract DOC_COMMENT = [](const Node& declaration, const Source& source) {
    return _extract_preceding_block_comment(declaration, source, Above::anywhere);
  };
  static constexpr Row ROWS[] = {
      {"python", _extract_python_docstring},
      {"javascript", DOC_COMMENT},
      {"typescript", DOC_COMMENT},
      {"tsx", DOC_COMMENT},
      {"java", DOC_COMMENT},
      {"php", DOC_COMMENT},
      {"go", _extract_go_doc},
      {"rust", _extract_rust_doc},
      {"csharp", _extract_csharp_doc},
      {"ruby", _extract_ruby_doc},
  };
  for (const Row& row : ROWS) {
    if (row.language == language) return row.extract(node, content);
  }
  return std::nullopt;
}

// The first statement is the docstring if it is one string. Several adjacent strings are a node of
// another type, and no docstring.
std::optional<std::string> TreeSitterEngine::_extract_python_docstring(const Node& node,
                                                                       const Source& content) {
  const std::optional<Node> body = python_body(node);
  if (!body) return std::nullopt;
  const std::optional<Node> statement = first_child_of(*body);
  if (!statement || statement->type() != NodeType::expression_statement) return std::nullopt;
  const std::optional<Node> literal = first_child_of(*statement);
  if (!literal || literal->type() != NodeType::string) return std::nullopt;
  std::string storage;
  return _clean_python_docstring(
             content.decoded(literal->start_byte(), literal->end_byte(), storage))
      .first;
}

// Removes prefix, quotes and outer whitespace. Indentation, blank lines and escapes stay as
// written.
std::pair<std::optional<std::string>, bool> TreeSitterEngine::_clean_python_docstring(
    std::string_view text) {
  auto [docstring, was_truncated] = _truncate_docstring(trim(without_quotes(without_prefix(text))));
  if (docstring.empty()) return {std::nullopt, was_truncated};
  return {std::move(docstring), was_truncated};
}

std::pair<std::string, bool> _truncate_docstring(std::string_view text) {
  constexpr std::size_t CUT_POINT = MAX_DOCSTRING_LENGTH - TRUNCATION_SUFFIX.size();
  const bool was_truncated = length(text, MAX_DOCSTRING_LENGTH + 1) > MAX_DOCSTRING_LENGTH;
  if (!was_truncated) return {std::string(text), false};
  return {std::string(first(text, CUT_POINT)).append(TRUNCATION_SUFFIX), true};
}

}  // namespace engines::treesitter
