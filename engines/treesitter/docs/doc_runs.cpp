// Documentation in a run of comments under the navigation rules, in Go, Rust, SQL and in Java's
// lines of Markdown. The table says which beginnings of comments count, what may be between comment
// and declaration, and whether a blank line ends the run.
//
// A run goes from the declaration upwards and ends at the previous declaration, so all searches in
// a file together read each comment once.
//
// Tested by the navigation cases in tests/golden.
#include <algorithm>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "engines/treesitter/docs/trailing_comment.h"
#include "engines/treesitter/navigation/grammar_rows.h"
#include "engines/treesitter/parsing/node.h"
#include "engines/treesitter/reading/source.h"
#include "engines/treesitter/text/text.h"
#include "engines/treesitter/treesitter.h"

namespace engines::treesitter {
namespace {

struct RunRow {
  In language;
  std::string_view openings;  // the beginnings of documentation
  std::string_view others;    // longer beginnings, of comments that are none
  std::string_view inner;     // the beginnings of documentation at the start of the body
  std::string_view passed;    // a type of node that may be in the run
  bool is_adjacent;           // a blank line ends the run, and so does code in front of a comment
};

constexpr RunRow RUNS[] = {
    // Directives, which are among the lines of a text, are left out.
    {In::go, "// /*", "//go: //nolint //lint: //line //export //extern", "", "", true},
    {In::rust, "/// /** #[doc", "//// /*** /**/ #[doc(", "//! /*!", "attribute_item", false},
    {In::sql, "-- /*", "", "", "", true},
    {In::java, "///", "////", "", "", true},
};

// A language's row, translated.
struct RunRules {
  explicit RunRules(const languages::Language& language) {
    for (const RunRow& row : RUNS) {
      if (!speaks_of(row.language, language.name())) continue;
      openings = split_whitespace(row.openings);
      others = split_whitespace(row.others);
      inner = split_whitespace(row.inner);
      passed = SymbolSet(language, row.passed);
      is_adjacent = row.is_adjacent;
    }
  }

  std::vector<std::string_view> openings, others, inner;
  SymbolSet passed;
  bool is_adjacent = false;
};

std::string_view opening_of(std::string_view text, const std::vector<std::string_view>& openings) {
  const auto found = std::find_if(openings.begin(), openings.end(), [&](std::string_view opening) {
    return text.starts_with(opening);
  });
  return found == openings.end() ? std::string_view() : *found;
}

// The quoted text behind the equals sign: `Text.` for `#[doc = "Text."]`.
std::string_view value_of(std::string_view text) {
  const std::string_view value = trim(text.substr(std::min(text.find('='), text.size() - 1) + 1));
  if (!value.starts_with('"')) return {};
  return trim(value.substr(1, value.rfind('"') - 1));
}

// The comments above the declaration, and the nodes passed between them, in source order.
std::vector<Node> run_above(const Node& declaration, const RunRules& rules) {
  std::vector<Node> run;
  std::uint32_t row_below = declaration.start_row();
  for (auto above = declaration.previous_sibling(); above; above = above->previous_sibling()) {
    if (is_comment(*above)) {
      if (rules.is_adjacent && (above->end_row() + 1 < row_below || is_trailing(*above))) break;
      row_below = above->start_row();
      run.push_back(*above);
    } else if (rules.passed.contains(above->symbol())) {
      run.push_back(*above);
    } else if (above->type() != NodeType::error) {
      break;
    }
  }
  std::reverse(run.begin(), run.end());
  return run;
}

// The comments at the start of a body.
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
  const RunRules& rules = table_of<RunRules>(declaration.tree().language());
  std::string joined;
  std::string storage;
  const auto add = [&](const Node& comment, const std::vector<std::string_view>& openings) {
    const std::string_view text =
        content.decoded(comment.start_byte(), comment.end_byte(), storage);
    const std::string_view opening = opening_of(text, openings);
    if (opening.empty() || !opening_of(text, rules.others).empty()) return;
    if (text.starts_with("/*")) {
      joined.append(_clean_block_comment(text).first.value_or(""));
    } else if (text.starts_with('#')) {
      joined.append(value_of(text));
    } else {
      joined.append(trim(text.substr(opening.size())));
    }
    joined.push_back(' ');
  };
  for (const Node& comment : run_above(holder, rules)) add(comment, rules.openings);
  if (const auto body = declaration.child_by_field(Field::body); body && !rules.inner.empty()) {
    for (const Node& comment : run_within(*body)) add(comment, rules.inner);
  }
  std::string documentation = _truncate_docstring(trim(joined)).first;
  if (documentation.empty()) return std::nullopt;
  return documentation;
}

}  // namespace engines::treesitter
