// See hiding_words.h.
#include "engines/treesitter/visibility/hiding_words.h"

#include <algorithm>
#include <iterator>
#include <optional>

#include "engines/treesitter/core/grammar_rows.h"
#include "engines/treesitter/core/own_name.h"
#include "engines/treesitter/core/text.h"

namespace engines::treesitter {
namespace {

// What a word may speak of: declarations of these types.
struct Subject {
  In languages;
  std::string_view types;
};

enum SubjectId : std::uint8_t { NOTHING, RUBY_METHODS, RUBY_SINGLETON_METHODS, RUBY_CONSTANTS };

constexpr Subject SUBJECTS[] = {
    {In{}, ""},
    {In::ruby, "method call alias"},  // attr_reader, define_method and their like are calls
    {In::ruby, "singleton_method"},
    {In::ruby, "class module assignment operator_assignment"},
};

struct WordRow {
  In languages;
  std::string_view words;
  bool hides;
  SubjectId subject;
  bool may_be_bare;
};

constexpr WordRow WORD_ROWS[] = {
    {In::ruby, "private protected", true, RUBY_METHODS, true},
    {In::ruby, "public module_function", false, RUBY_METHODS, true},
    {In::ruby, "private_class_method", true, RUBY_SINGLETON_METHODS, false},
    {In::ruby, "public_class_method", false, RUBY_SINGLETON_METHODS, false},
    {In::ruby, "private_constant", true, RUBY_CONSTANTS, false},
    {In::ruby, "public_constant", false, RUBY_CONSTANTS, false},
};

// The nodes that words stand in: as themselves, or with arguments.
struct FormRow {
  In languages;
  std::string_view bodies;
  std::string_view bare;
  std::string_view call;
  std::string_view word;       // the path of the word in a call (core/own_name.h)
  std::string_view addressee;  // a call that has this speaks of something else
  std::string_view arguments;
  std::string_view lists;  // arguments that hold others
};

constexpr FormRow FORM_ROWS[] = {
    {In::ruby, "body_statement block_body program", "identifier", "call", "method", "receiver",
     "arguments", "array symbol_array string_array"},
};

// As far as a declaration stands from its body, such as in `private memoize def f`.
constexpr int MOST_STEPS = 6;

constexpr std::uint32_t NODES_PER_CHECK = 64 * 1024;

}  // namespace

struct HidingWords::Word {
  bool hides;
  SubjectId subject;
  bool may_be_bare;
};

struct HidingWords::Rules {
  explicit Rules(const languages::Language& language) : subjects(language), own_names(language) {
    for (const FormRow& row : FORM_ROWS) {
      if (!speaks_of(row.languages, language.name())) continue;
      bodies = SymbolSet(language, row.bodies);
      bare = SymbolSet(language, row.bare);
      call = SymbolSet(language, row.call);
      lists = SymbolSet(language, row.lists);
      word = Path(language, row.word);
      addressee = Path(language, row.addressee);
      arguments = Path(language, row.arguments);
    }
    for (const WordRow& row : WORD_ROWS) {
      if (!speaks_of(row.languages, language.name())) continue;
      for (const std::string_view text : split_whitespace(row.words)) {
        words.emplace(text, Word{row.hides, row.subject, row.may_be_bare});
      }
    }
    for (std::size_t id = 0; id < std::size(SUBJECTS); ++id) {
      if (!speaks_of(SUBJECTS[id].languages, language.name())) continue;
      for (const std::uint16_t symbol : SymbolSet(language, SUBJECTS[id].types)) {
        subjects.at(symbol) = static_cast<std::uint8_t>(id);
      }
    }
  }

  const Word* find(const Node& node) const {
    const auto found = words.find(node.bytes());
    return found == words.end() ? nullptr : &found->second;
  }

  SymbolSet bodies, bare, call, lists;
  Path word, addressee, arguments;
  std::unordered_map<std::string_view, Word> words;
  BySymbol<std::uint8_t> subjects;
  OwnNames own_names;
};

HidingWords::HidingWords(const Node& root) {
  const SyntaxTree& tree = root.tree();
  const Rules& rules = table_of<Rules>(tree.language());
  if (rules.words.empty()) return;
  for (std::uint32_t index = 1; index < tree.size(); ++index) {
    if (index % NODES_PER_CHECK == 0) tree.source().check_cancelled();
    const Node node(tree, index);
    const bool is_bare = rules.bare.contains(node.symbol());
    if (!is_bare && !rules.call.contains(node.symbol())) continue;
    const std::optional<Node> body = node.parent();
    if (!body || !rules.bodies.contains(body->symbol())) continue;
    const std::optional<Node> text = is_bare ? node : rules.word.in(node);
    const Word* const word = text ? rules.find(*text) : nullptr;
    if (word == nullptr) continue;
    if (!is_bare) {
      read_arguments(rules, *word, *body, node);
    } else if (word->may_be_bare) {
      _changes[body->index()].emplace_back(index, word->hides);
    }
  }
}

void HidingWords::read_arguments(const Rules& rules, const Word& word, const Node& body,
                                 const Node& call) {
  const std::optional<Node> arguments = rules.arguments.in(call);
  if (!arguments || rules.addressee.in(call)) return;
  const auto add = [&](const Node& argument) {
    if (const auto carrier = rules.own_names.carrier(argument)) {
      _names[{body.index(), word.subject, OwnNames::text(*carrier)}] = word.hides;
    } else {
      _arguments[argument.index()] = word.hides;
    }
  };
  for (const Node argument : arguments->children()) {
    if (!rules.lists.contains(argument.symbol())) {
      add(argument);
    } else {
      for (const Node each : argument.children()) add(each);
    }
  }
}

bool HidingWords::hide(const Node& node, std::string_view name) const {
  if (_changes.empty() && _arguments.empty() && _names.empty()) return false;
  const Rules& rules = table_of<Rules>(node.tree().language());
  std::optional<Node> body = node;
  for (int i = 0; body && !rules.bodies.contains(body->symbol()); ++i) {
    if (i == MOST_STEPS) return false;
    const auto argument = _arguments.find(body->index());
    if (argument != _arguments.end()) return argument->second;
    body = body->parent();
  }
  if (!body) return false;
  const std::uint8_t subject = rules.subjects[node.symbol()];
  const auto named = _names.find(std::tuple(body->index(), subject, std::string(name)));
  if (named != _names.end()) return named->second;
  const auto changes = _changes.find(body->index());
  if (subject != RUBY_METHODS || changes == _changes.end()) return false;
  const auto later = std::upper_bound(
      changes->second.begin(), changes->second.end(), node.index(),
      [](std::uint32_t index, const Change& change) { return index < change.first; });
  return later != changes->second.begin() && std::prev(later)->second;
}

}  // namespace engines::treesitter
