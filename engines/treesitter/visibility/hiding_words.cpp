// See hiding_words.h.
#include "engines/treesitter/visibility/hiding_words.h"

#include <algorithm>
#include <iterator>
#include <optional>

#include "engines/treesitter/navigation/grammar_rows.h"
#include "engines/treesitter/navigation/own_name.h"
#include "engines/treesitter/text/text.h"

namespace engines::treesitter {
namespace {

// Words that hide or show declarations of some node types.
struct WordRow {
  In languages;
  std::string_view hiding;
  std::string_view showing;
  std::string_view types;
  // Whether a word without arguments holds for the rest of the body, up to the next such word.
  bool may_be_bare;
};

constexpr WordRow WORD_ROWS[] = {
    // attr_reader and define_method are calls.
    {In::ruby, "private protected", "public module_function", "method call alias", true},
    {In::ruby, "private_class_method", "public_class_method", "singleton_method", false},
    {In::ruby, "private_constant", "public_constant", "class module assignment operator_assignment",
     false},
};

// How the words look in the tree. All of them are direct children of a body.
struct FormRow {
  In languages;
  std::string_view bodies;     // types
  std::string_view bare;       // the type of a word without arguments
  std::string_view call;       // the type of a word with arguments
  std::string_view word;       // the path to the word in the call (navigation/own_name.h)
  std::string_view arguments;  // the path to the arguments in the call
  std::string_view addressee;  // a call with a node at this path is another call
  std::string_view lists;      // the types of arguments that contain arguments
};

constexpr FormRow FORM_ROWS[] = {
    {In::ruby, "body_statement block_body program", "identifier", "call", "method", "arguments",
     "receiver", "array symbol_array string_array"},
};

// Nobody writes a declaration further below its body than this, as in `private memoize def f`.
constexpr int MOST_STEPS = 6;

}  // namespace

struct HidingWords::Meaning {
  Subject subject;
  bool hides;
  bool may_be_bare;
};

struct HidingWords::Rules {
  explicit Rules(const languages::Language& language) : subjects(language), own_names(language) {
    for (const FormRow& row : FORM_ROWS) {
      if (!speaks_of(row.languages, language.name())) continue;
      bodies = SymbolSet(language, row.bodies);
      bare = SymbolSet(language, row.bare);
      call = SymbolSet(language, row.call);
      word = Path(language, row.word);
      arguments = Path(language, row.arguments);
      addressee = Path(language, row.addressee);
      lists = SymbolSet(language, row.lists);
    }
    Subject subject = 0;
    for (const WordRow& row : WORD_ROWS) {
      ++subject;
      if (!speaks_of(row.languages, language.name())) continue;
      for (const bool hides : {true, false}) {
        for (const std::string_view text : split_whitespace(hides ? row.hiding : row.showing)) {
          words.emplace(text, Meaning{subject, hides, row.may_be_bare});
        }
      }
      for (const std::uint16_t symbol : SymbolSet(language, row.types)) {
        subjects.at(symbol) = subject;
      }
    }
  }

  const Meaning* meaning(const std::optional<Node>& text) const {
    const auto found = text ? words.find(text->bytes()) : words.end();
    return found == words.end() ? nullptr : &found->second;
  }

  SymbolSet bodies, bare, call, lists;
  Path word, arguments, addressee;
  std::unordered_map<std::string_view, Meaning> words;
  BySymbol<Subject> subjects;  // 0 for nodes that no word is about
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
    const auto* const meaning = rules.meaning(is_bare ? node : rules.word.in(node));
    if (meaning == nullptr) continue;
    if (!is_bare) {
      read_arguments(rules, *body, node, *meaning);
    } else if (meaning->may_be_bare) {
      _switches[{body->index(), meaning->subject}].emplace_back(index, meaning->hides);
    }
  }
}

void HidingWords::read_arguments(const Rules& rules, const Node& body, const Node& call,
                                 const Meaning& meaning) {
  const std::optional<Node> arguments = rules.arguments.in(call);
  if (!arguments || rules.addressee.in(call)) return;
  const auto add = [&](const Node& argument) {
    if (const auto carrier = rules.own_names.carrier(argument)) {
      _names[{body.index(), meaning.subject, OwnNames::text(*carrier)}] = meaning.hides;
    } else {
      _arguments[argument.index()] = meaning.hides;
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
  if (_switches.empty() && _names.empty() && _arguments.empty()) return false;
  const Rules& rules = table_of<Rules>(node.tree().language());
  const Subject subject = rules.subjects[node.symbol()];
  if (subject == 0) return false;
  std::optional<Node> body = node;
  for (int i = 0; !rules.bodies.contains(body->symbol()); ++i) {
    const auto argument = _arguments.find(body->index());
    if (argument != _arguments.end()) return argument->second;
    body = body->parent();
    if (!body || i == MOST_STEPS) return false;
  }
  const auto named = _names.find({body->index(), subject, std::string(name)});
  if (named != _names.end()) return named->second;
  const auto switches = _switches.find({body->index(), subject});
  if (switches == _switches.end()) return false;
  const auto later =
      std::partition_point(switches->second.begin(), switches->second.end(),
                           [&](const Switch& each) { return each.first < node.index(); });
  return later != switches->second.begin() && std::prev(later)->second;
}

}  // namespace engines::treesitter
