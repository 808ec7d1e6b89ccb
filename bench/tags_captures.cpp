// Prints what the tags queries of the grammar packages capture, with which bench/recall compares
// the engine.
//
//   tags_captures NODE_MODULES    reads lines "LANGUAGE<tab>PATH" from standard input
//
// Prints a line for each `definition.*` or `reference.*` that a query captures together with a
// `name`, with tabs between the fields:
//
//   NUMBER CAPTURE TYPE PLACE FIRST LAST LINE NAME
//
// and "NUMBER text FIRST LAST" for lines within strings and comments.
//
// NUMBER counts the input lines from 0. TYPE is the type of the captured node. PLACE is where the
// name stands, as "PARENT_TYPE:FIELD". FIRST and LAST are the lines of the captured node's
// beginning and of the name, the smaller one first; LINE is that of the name. Lines count from 1.
// Languages without a query print nothing. Predicates on texts are obeyed. Directives are ignored,
// and so is `is-not? local`, since no scopes are known here. The parse has no guards, so files must
// be trusted.
#include <tree_sitter/api.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <iterator>
#include <map>
#include <memory>
#include <optional>
#include <regex>
#include <set>
#include <string>
#include <tuple>
#include <vector>

#include "engines/languages/language.h"

namespace {

using engines::languages::Language;

// The files that make up a language's query, as the packages' tree-sitter.json list them.
const std::map<std::string, std::vector<std::string>> QUERY_FILES = {
    {"csharp", {"tree-sitter-c-sharp"}},
    {"go", {"tree-sitter-go"}},
    {"java", {"tree-sitter-java"}},
    {"javascript", {"tree-sitter-javascript"}},
    {"php", {"tree-sitter-php"}},
    {"python", {"tree-sitter-python"}},
    {"ruby", {"tree-sitter-ruby"}},
    {"rust", {"tree-sitter-rust"}},
    {"tsx", {"tree-sitter-typescript", "tree-sitter-javascript"}},
    {"typescript", {"tree-sitter-typescript", "tree-sitter-javascript"}},
};

[[noreturn]] void die(const std::string& message) {
  std::cerr << "tags_captures: " << message << '\n';
  std::exit(2);
}

std::optional<std::string> content_of(const std::string& path) {
  std::ifstream stream(path, std::ios::binary);
  if (!stream) return std::nullopt;
  return std::string(std::istreambuf_iterator<char>(stream), {});
}

std::string_view text_of(TSNode node, const std::string& source) {
  const std::uint32_t start = ts_node_start_byte(node);
  return std::string_view(source).substr(start, ts_node_end_byte(node) - start);
}

// ---- Queries ----

// One condition of a pattern on the text of a capture.
struct Predicate {
  bool is_negated = false;
  std::uint32_t capture = 0;
  std::optional<std::uint32_t> other;  // the capture whose text must be the same
  std::optional<std::regex> pattern;
  std::vector<std::string> texts;  // one of which it must be

  bool holds(const TSQueryMatch& match, const std::string& source) const {
    for (std::uint16_t i = 0; i < match.capture_count; ++i) {
      if (match.captures[i].index != capture) continue;
      if (accepts(text_of(match.captures[i].node, source), match, source) == is_negated) {
        return false;
      }
    }
    return true;
  }

 private:
  bool accepts(std::string_view text, const TSQueryMatch& match, const std::string& source) const {
    if (pattern) return std::regex_search(text.begin(), text.end(), *pattern);
    if (!other) return std::find(texts.begin(), texts.end(), text) != texts.end();
    for (std::uint16_t i = 0; i < match.capture_count; ++i) {
      if (match.captures[i].index == *other) return text_of(match.captures[i].node, source) == text;
    }
    return false;
  }
};

class Query {
 public:
  Query(const std::string& source, const TSLanguage* language, const std::string& name)
      : _query(nullptr, ts_query_delete) {
    std::uint32_t offset = 0;
    TSQueryError error{};
    _query.reset(ts_query_new(language, source.data(), static_cast<std::uint32_t>(source.size()),
                              &offset, &error));
    if (!_query) die("the query of " + name + " fails at byte " + std::to_string(offset));
    for (std::uint32_t i = 0; i < ts_query_pattern_count(_query.get()); ++i) {
      _predicates.push_back(predicates_of(i));
    }
  }

  const TSQuery* get() const { return _query.get(); }

  std::string_view capture_name(std::uint32_t index) const {
    std::uint32_t size = 0;
    const char* name = ts_query_capture_name_for_id(get(), index, &size);
    return {name, size};
  }

  bool accepts(const TSQueryMatch& match, const std::string& source) const {
    return std::ranges::all_of(_predicates[match.pattern_index], [&](const Predicate& predicate) {
      return predicate.holds(match, source);
    });
  }

 private:
  std::string text(const TSQueryPredicateStep& step) const {
    std::uint32_t size = 0;
    const char* value = ts_query_string_value_for_id(get(), step.value_id, &size);
    return {value, size};
  }

  std::vector<Predicate> predicates_of(std::uint32_t pattern) const {
    std::uint32_t count = 0;
    const TSQueryPredicateStep* steps = ts_query_predicates_for_pattern(get(), pattern, &count);
    std::vector<Predicate> predicates;
    for (std::uint32_t first = 0, i = 0; i < count; ++i) {
      if (steps[i].type != TSQueryPredicateStepTypeDone) continue;
      if (auto predicate = predicate_of({steps + first, steps + i})) {
        predicates.push_back(std::move(*predicate));
      }
      first = i + 1;
    }
    return predicates;
  }

  // None for a predicate that is not about a text.
  std::optional<Predicate> predicate_of(const std::vector<TSQueryPredicateStep>& steps) const {
    std::string name = text(steps.at(0));
    if (name.ends_with('!') || name == "is?" || name == "is-not?") return std::nullopt;
    Predicate predicate;
    if (name.starts_with("not-")) {
      predicate.is_negated = true;
      name.erase(0, 4);
    }
    predicate.capture = steps.at(1).value_id;
    if (name == "match?") {
      predicate.pattern.emplace(text(steps.at(2)));
    } else if (name == "eq?" && steps.at(2).type == TSQueryPredicateStepTypeCapture) {
      predicate.other = steps[2].value_id;
    } else if (name == "eq?" || name == "any-of?") {
      for (std::size_t i = 2; i < steps.size(); ++i) predicate.texts.push_back(text(steps[i]));
    } else {
      die("a query has an unknown predicate " + name);
    }
    return predicate;
  }

  std::unique_ptr<TSQuery, decltype(&ts_query_delete)> _query;
  std::vector<std::vector<Predicate>> _predicates;  // by pattern
};

// The query of a language, read once; nullptr when its package has none.
const Query* query_of(const std::string& language, const std::string& node_modules) {
  static std::map<std::string, std::unique_ptr<Query>> queries;
  const auto files = QUERY_FILES.find(language);
  if (files == QUERY_FILES.end()) return nullptr;
  std::unique_ptr<Query>& query = queries[language];
  if (query) return query.get();
  std::string source;
  for (const std::string& package : files->second) {
    const auto part = content_of(node_modules + "/" + package + "/queries/tags.scm");
    if (!part) die("no tags.scm in " + package);
    source += *part + "\n";
  }
  const TSLanguage* grammar = engines::languages::get_language(language)->grammar();
  query = std::make_unique<Query>(source, grammar, language);
  return query.get();
}

// ---- Captures ----

std::string place_of(TSNode node) {
  const TSNode parent = ts_node_parent(node);
  if (ts_node_is_null(parent)) return ":";
  std::string place = std::string(ts_node_type(parent)) + ":";
  for (std::uint32_t i = 0; i < ts_node_child_count(parent); ++i) {
    if (!ts_node_eq(ts_node_child(parent, i), node)) continue;
    const char* field = ts_node_field_name_for_child(parent, i);
    return field == nullptr ? place : place + field;
  }
  return place;
}

class Captures {
 public:
  Captures(const Query& query, const std::string& source, std::size_t number)
      : _query(query), _source(source), _number(number) {}

  void print(const TSQueryMatch& match) {
    std::optional<TSNode> name;
    for (std::uint16_t i = 0; i < match.capture_count; ++i) {
      if (_query.capture_name(match.captures[i].index) == "name") name = match.captures[i].node;
    }
    if (!name || !_query.accepts(match, _source)) return;
    for (std::uint16_t i = 0; i < match.capture_count; ++i) {
      const std::string_view capture = _query.capture_name(match.captures[i].index);
      if (capture.starts_with("definition.") || capture.starts_with("reference.")) {
        print(capture, match.captures[i].node, *name);
      }
    }
  }

 private:
  void print(std::string_view capture, TSNode node, TSNode name) {
    // A pattern with optional comments before it matches once for each of them.
    const std::string type = ts_node_type(node);
    if (!_printed.emplace(capture, type, ts_node_start_byte(name)).second) return;
    const std::uint32_t row = ts_node_start_point(node).row + 1;
    const std::uint32_t name_row = ts_node_start_point(name).row + 1;
    std::string text(text_of(name, _source));
    std::ranges::replace_if(
        text, [](char c) { return c == '\n' || c == '\t' || c == '\r'; }, ' ');
    std::cout << _number << '\t' << capture << '\t' << type << '\t' << place_of(name) << '\t'
              << std::min(row, name_row) << '\t' << std::max(row, name_row) << '\t' << name_row
              << '\t' << text << '\n';
  }

  const Query& _query;
  const std::string& _source;
  const std::size_t _number;
  std::set<std::tuple<std::string, std::string, std::uint32_t>> _printed;
};

// Prints "NUMBER text FIRST LAST" for each string and comment of more than two lines. A program
// that reads no syntax may take their text for declarations.
void print_texts(TSNode root, std::size_t number) {
  const auto is_text = [](std::string_view type) {
    for (const std::string_view part : {"string", "heredoc", "nowdoc", "comment"}) {
      if (type.find(part) != type.npos) return true;
    }
    return false;
  };
  TSTreeCursor cursor = ts_tree_cursor_new(root);
  for (bool is_inside = true; is_inside;) {
    const TSNode node = ts_tree_cursor_current_node(&cursor);
    const std::uint32_t first = ts_node_start_point(node).row;
    const std::uint32_t last = ts_node_end_point(node).row;
    const bool is_long = last > first + 1;  // others have no line of their own, nor their children
    const bool is_text_node = is_long && is_text(ts_node_type(node));
    // Rows count from 0 and lines from 1; the first and the last line may hold code.
    if (is_text_node) std::cout << number << "\ttext\t" << first + 2 << '\t' << last << '\n';
    if (is_long && !is_text_node && ts_tree_cursor_goto_first_child(&cursor)) continue;
    while (is_inside && !ts_tree_cursor_goto_next_sibling(&cursor)) {
      is_inside = ts_tree_cursor_goto_parent(&cursor);
    }
  }
  ts_tree_cursor_delete(&cursor);
}

void print_captures(const std::string& language, const Query& query, const std::string& source,
                    std::size_t number) {
  const std::unique_ptr<TSParser, decltype(&ts_parser_delete)> parser(ts_parser_new(),
                                                                      ts_parser_delete);
  ts_parser_set_language(parser.get(), engines::languages::get_language(language)->grammar());
  const std::unique_ptr<TSTree, decltype(&ts_tree_delete)> tree(
      ts_parser_parse_string(parser.get(), nullptr, source.data(),
                             static_cast<std::uint32_t>(source.size())),
      ts_tree_delete);
  print_texts(ts_tree_root_node(tree.get()), number);
  const std::unique_ptr<TSQueryCursor, decltype(&ts_query_cursor_delete)> cursor(
      ts_query_cursor_new(), ts_query_cursor_delete);
  ts_query_cursor_exec(cursor.get(), query.get(), ts_tree_root_node(tree.get()));
  Captures captures(query, source, number);
  for (TSQueryMatch match; ts_query_cursor_next_match(cursor.get(), &match);) captures.print(match);
}

}  // namespace

int main(int count, char** arguments) {
  std::ios::sync_with_stdio(false);
  if (count != 2) die("usage: tags_captures NODE_MODULES");
  std::string language, path;
  for (std::size_t number = 0;
       std::getline(std::cin, language, '\t') && std::getline(std::cin, path); ++number) {
    const Query* query = query_of(language, arguments[1]);
    if (query == nullptr) continue;
    const auto source = content_of(path);
    if (!source) die("cannot read " + path);
    print_captures(language, *query, *source, number);
  }
}
