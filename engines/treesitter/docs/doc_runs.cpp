// The documentation of a declaration under the navigation rules, where the language itself tells it
// from other comments: by how a comment begins, by what stands in between, by blank lines. For Go
// and Rust.
//
// A run goes from the declaration upwards and ends at the one before, so that a file's declarations
// together read each comment once.
//
// Tested by tests/golden/go and tests/golden/rust.
#include <algorithm>
#include <iterator>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "engines/treesitter/core/grammar_rows.h"
#include "engines/treesitter/core/node.h"
#include "engines/treesitter/core/source.h"
#include "engines/treesitter/core/text.h"
#include "engines/treesitter/treesitter.h"

namespace engines::treesitter {
namespace {

struct RunRow {
  In language;
  std::string_view openings;  // of what is documentation
  std::string_view others;    // of what begins so and is none
  std::string_view inner;     // of those at the head of a body, which document what has it
  std::string_view passed;    // a type of node that may stand between
  bool is_adjacent;           // a blank line ends the run, and so does code on a comment's line
};

constexpr RunRow RUNS[] = {
    // What is left out are directives, which stand among the lines of a text.
    {In::go, "// /*", "//go: //nolint //lint: //line //export //extern", "", "", true},
    {In::rust, "/// /** #[doc", "//// /*** /**/ #[doc(", "//! /*!", "attribute_item", false},
};

std::string_view opening_of(std::string_view text, std::string_view openings) {
  for (const std::string_view opening : split_whitespace(openings)) {
    if (text.starts_with(opening)) return opening;
  }
  return {};
}

// What is quoted behind the sign: of `#[doc = "Text."]` that is `Text.`
std::string_view value_of(std::string_view text) {
  const std::string_view value = trim(text.substr(std::min(text.find('='), text.size() - 1) + 1));
  if (!value.starts_with('"')) return {};
  return trim(value.substr(1, value.rfind('"') - 1));
}

// Whether code stands in front of the comment on its line. Costs the blanks there.
bool is_trailing(const Node& comment) {
  const std::string_view before = comment.tree().source().bytes().substr(0, comment.start_byte());
  const std::size_t end = before.find_last_not_of(" \t\r");
  return end != std::string_view::npos && before[end] != '\n';
}

// The comments above the declaration, and what is passed, in source order.
std::vector<Node> run_above(const Node& declaration, const RunRow& row) {
  std::vector<Node> run;
  std::uint32_t row_below = declaration.start_row();
  for (auto above = declaration.previous_sibling(); above; above = above->previous_sibling()) {
    if (is_comment(*above)) {
      if (row.is_adjacent && (above->end_row() + 1 < row_below || is_trailing(*above))) break;
      row_below = above->start_row();
      run.push_back(*above);
    } else if (above->type_text() == row.passed) {
      run.push_back(*above);
    } else if (above->type() != NodeType::error) {
      break;
    }
  }
  std::reverse(run.begin(), run.end());
  return run;
}

// The comments that a body begins with.
std::vector<Node> run_within(const Node& body) {
  std::vector<Node> run;
  for (const Node child : body.children()) {
    if (is_comment(child)) {
      run.push_back(child);
    } else if (child.is_named()) {
      break;
    }
  }
  return run;
}

}  // namespace

std::optional<std::string> TreeSitterEngine::_read_doc_run(const Node& declaration,
                                                           const Node& holder,
                                                           const Source& content) {
  const std::string_view language = declaration.tree().language().name();
  const auto row = std::find_if(std::begin(RUNS), std::end(RUNS), [&](const RunRow& each) {
    return speaks_of(each.language, language);
  });
  std::string joined;
  std::string storage;
  const auto add = [&](const Node& comment, std::string_view openings) {
    const std::string_view text =
        content.decoded(comment.start_byte(), comment.end_byte(), storage);
    const std::string_view opening = opening_of(text, openings);
    if (opening.empty() || !opening_of(text, row->others).empty()) return;
    if (text.starts_with("/*")) {
      joined.append(_clean_block_comment(text).first.value_or(""));
    } else if (text.starts_with('#')) {
      joined.append(value_of(text));
    } else {
      joined.append(trim(text.substr(opening.size())));
    }
    joined.push_back(' ');
  };
  for (const Node& comment : run_above(holder, *row)) add(comment, row->openings);
  if (const auto body = declaration.child_by_field(Field::body); body && !row->inner.empty()) {
    for (const Node& comment : run_within(*body)) add(comment, row->inner);
  }
  std::string documentation = _truncate_docstring(trim(joined)).first;
  if (documentation.empty()) return std::nullopt;
  return documentation;
}

}  // namespace engines::treesitter
