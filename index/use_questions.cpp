// See use_questions.h.
#include "index/use_questions.h"

#include <algorithm>
#include <array>
#include <tuple>
#include <unordered_map>
#include <utility>

#include "index/schema.h"
#include "index/statements.h"
#include "index/varint.h"
#include "index/words.h"

namespace repository {
namespace {

constexpr std::array<std::size_t, REFERENCE_KINDS.size()> ALL_KINDS = {0, 1, 2, 3};

// At most so many definitions of a name are compared with its uses.
constexpr std::size_t MOST_DEFINITIONS = 1000;
constexpr std::size_t MOST_DEFINITIONS_OF_CALLEE = 50;

// Names whose definitions are kept while one question is answered.
constexpr std::size_t MOST_KNOWN = 500;

// A name may have full stops itself. So a symbol's name may be any number of the last components of
// its FQN, of which so many are tried.
constexpr std::size_t MOST_COMPONENTS = 16;

// How many numbers are packed: each ends with a byte below 128.
std::size_t line_count(const std::string& packed) {
  return static_cast<std::size_t>(std::count_if(
      packed.begin(), packed.end(), [](char byte) { return static_cast<signed char>(byte) >= 0; }));
}

}  // namespace

UseQuestions::UseQuestions(Reader& reader)
    : _reader(reader),
      _names_with_words(reader.connection(),
                        "SELECT name.id, name.text FROM name_words JOIN name "
                        "ON name.id = name_words.rowid WHERE name_words MATCH ?") {}

// ---- Uses of a name ----

// After MANY_ROWS rows, and when the filter takes few files only, the name is asked for in each of
// those instead.
bool UseQuestions::add(Groups& groups, std::int64_t name, std::size_t kind, RowFilter& filter,
                       const std::function<bool(std::int64_t file)>& is_meant) {
  const auto add_row = [&](const Reader::Reference& reference) {
    groups.is_cut = filter.is_enough(++groups.looked_at, groups.lines);
    if (groups.is_cut) return false;
    if (filter.takes_file(reference.file) && is_meant(reference.file)) {
      groups.lines += line_count(reference.lines);
      groups.rows.push_back({reference.file, name, kind, reference.lines});
    }
    return true;
  };
  const std::size_t rows_before = groups.rows.size();
  const std::size_t lines_before = groups.lines;
  std::size_t count = 0;
  bool is_file_by_file = false;
  _reader.for_each_reference(name, kind, [&](const Reader::Reference& reference) {
    is_file_by_file = ++count == MANY_ROWS && filter.few_files();
    return !is_file_by_file && add_row(reference);
  });
  if (!is_file_by_file) return !groups.is_cut;
  groups.rows.resize(rows_before);
  groups.lines = lines_before;
  for (const std::int64_t file : *filter.few_files()) {
    const auto lines = _reader.lines_of(name, kind, file);
    if (lines && !add_row({file, *lines})) break;
  }
  return !groups.is_cut;
}

// One row for each use in a file, in the order of their lines.
std::vector<Use> UseQuestions::in_file(std::span<const Group> groups) {
  struct Line {
    std::uint64_t number;
    const Group* group;
  };
  std::vector<Line> places;
  for (const Group& group : groups) {
    for (const std::uint64_t line : unpack_rising(group.lines)) places.push_back({line, &group});
  }
  std::stable_sort(places.begin(), places.end(),
                   [](const Line& one, const Line& other) { return one.number < other.number; });
  std::vector<std::uint64_t> lines;
  lines.reserve(places.size());
  for (const Line& place : places) lines.push_back(place.number);
  const std::int64_t id = groups.front().file;
  const auto around = _reader.around(id, lines);
  const Reader::File& file = _reader.file(id);
  std::vector<Use> uses;
  uses.reserve(places.size());
  for (std::size_t i = 0; i < places.size(); ++i) {
    uses.push_back({.path = file.path,
                    .line = static_cast<std::uint32_t>(places[i].number),
                    .kind = REFERENCE_KINDS[places[i].group->kind],
                    .name = _reader.name_text(places[i].group->name),
                    .is_test = file.is_test,
                    .within = std::nullopt,
                    .meanings = {}});
    if (around[i] != 0) uses.back().within = _reader.definition(around[i]);
  }
  return uses;
}

// File by file, tests last.
Answer<Use> UseQuestions::shown(Groups groups, std::size_t limit) {
  const auto key = [&](const Group& group) {
    const Reader::File& file = _reader.file(group.file);
    return std::tuple(file.is_test, std::string_view(file.path), group.kind, group.name);
  };
  std::sort(groups.rows.begin(), groups.rows.end(),
            [&](const Group& one, const Group& other) { return key(one) < key(other); });
  Answer<Use> answer;
  answer.is_cut = groups.is_cut || groups.lines > limit;
  for (std::size_t begin = 0; begin < groups.rows.size() && answer.rows.size() < limit;) {
    std::size_t end = begin + 1;
    while (end < groups.rows.size() && groups.rows[end].file == groups.rows[begin].file) ++end;
    for (Use& use : in_file(std::span(groups.rows).subspan(begin, end - begin))) {
      if (answer.rows.size() < limit) answer.rows.push_back(std::move(use));
    }
    begin = end;
  }
  return answer;
}

Answer<Use> UseQuestions::uses(const std::string& name, std::span<const std::size_t> kinds,
                               const Filter& limits) {
  RowFilter filter(_reader, limits);
  const auto id = _reader.name_id(name);
  if (!id) return {};
  Groups groups;
  for (const std::size_t kind : kinds) {
    if (!add(groups, *id, kind, filter, [](std::int64_t) { return true; })) break;
  }
  Answer<Use> answer = shown(std::move(groups), filter.limit());
  Definitions definitions(_reader, *id, MOST_DEFINITIONS);
  Meanings meanings;
  const std::string* last_path = nullptr;
  for (Use& use : answer.rows) {
    if (last_path == nullptr || *last_path != use.path) {
      const std::int64_t file = _reader.file_id(use.path).value();
      meanings = definitions.in(file, imports_of(_reader, file));
    }
    last_path = &use.path;
    use.meanings = meanings;
  }
  return answer;
}

Answer<Use> UseQuestions::callers(const std::string& name, const Filter& filter) {
  return uses(name, std::span(&CALL, 1), filter);
}

Answer<Use> UseQuestions::references(const std::string& name, const Filter& filter) {
  return uses(name, ALL_KINDS, filter);
}

// ---- What a symbol calls ----

// Symbols with exactly this FQN, otherwise those whose FQN ends with it. Of a name without a
// holder, one symbol more than the limit is enough to know that there are more.
std::vector<std::int64_t> UseQuestions::symbols_meant(const std::string& fqn, RowFilter& filter) {
  std::vector<std::int64_t> exact;
  std::vector<std::int64_t> alike;
  std::size_t start = fqn.size();
  for (std::size_t i = 0; i < MOST_COMPONENTS && start > 0; ++i) {
    const std::size_t stop = start < 2 ? std::string::npos : fqn.rfind('.', start - 2);
    start = stop == std::string::npos ? 0 : stop + 1;
    const auto name = _reader.name_id(fqn.substr(start));
    if (!name) continue;
    const std::string before = fqn.substr(0, start - std::min<std::size_t>(start, 1));
    _reader.for_each_symbol(*name, std::nullopt, [&](const Reader::Ranked& row) {
      const std::int64_t symbol = row.id;
      if (!filter.takes_file(file_of(symbol))) return true;
      if (before.empty()) {
        alike.push_back(symbol);
        return alike.size() <= filter.limit();
      }
      const std::string holder = _reader.holder(symbol);
      if (holder == before) exact.push_back(symbol);
      if (holder.ends_with('.' + before)) alike.push_back(symbol);
      return true;
    });
  }
  std::vector<std::int64_t>& found = exact.empty() ? alike : exact;
  std::sort(found.begin(), found.end());
  return std::move(found);
}

// The calls on the caller's lines, in their order.
std::vector<UseQuestions::Call> UseQuestions::calls_in(std::int64_t file,
                                                       const Definition& caller) {
  std::vector<Call> calls;
  for (const std::uint64_t use : _reader.uses_of(file)) {
    if (kind_of(use) != CALL) continue;
    const std::int64_t name = name_of(use);
    for (const std::uint64_t line :
         unpack_rising(_reader.lines_of(name, CALL, file).value_or(""))) {
      if (line >= caller.first && line <= caller.last) calls.emplace_back(line, name);
    }
  }
  std::sort(calls.begin(), calls.end());
  return calls;
}

void UseQuestions::add_callees(std::int64_t symbol, std::size_t limit, Known& known,
                               Answer<Use>& answer) {
  const Definition caller = _reader.definition(symbol);
  const std::int64_t file = file_of(symbol);
  const std::size_t first_row = answer.rows.size();
  const Imports imports = imports_of(_reader, file);
  std::unordered_map<std::int64_t, Meanings> meanings;
  for (const auto& [line, name] : calls_in(file, caller)) {
    if (answer.rows.size() == limit) {
      answer.is_cut = true;
      break;
    }
    const auto [found, is_new] = meanings.try_emplace(name);
    if (is_new) {
      if (known.size() > MOST_KNOWN) known.clear();
      found->second = known.try_emplace(name, _reader, name, MOST_DEFINITIONS_OF_CALLEE)
                          .first->second.in(file, imports);
    }
    answer.rows.push_back({.path = caller.path,
                           .line = static_cast<std::uint32_t>(line),
                           .kind = REFERENCE_KINDS[CALL],
                           .name = _reader.name_text(name),
                           .is_test = caller.is_test,
                           .within = caller,
                           .meanings = found->second});
  }
  const auto by_place = [](const Use& one, const Use& other) {
    return std::tie(one.line, one.name) < std::tie(other.line, other.name);
  };
  std::sort(answer.rows.begin() + static_cast<std::ptrdiff_t>(first_row), answer.rows.end(),
            by_place);
}

std::optional<Answer<Use>> UseQuestions::callees(const std::string& fqn, const Filter& limits) {
  RowFilter filter(_reader, limits);
  const auto symbols = symbols_meant(fqn, filter);
  if (symbols.empty()) return std::nullopt;
  Answer<Use> answer;
  answer.is_cut = symbols.size() > filter.limit();
  Known known;
  for (const std::int64_t symbol : symbols) {
    add_callees(symbol, filter.limit(), known, answer);
    if (answer.rows.size() < filter.limit()) continue;
    answer.is_cut = answer.is_cut || symbol != symbols.back();
    break;
  }
  return answer;
}

// ---- Who imports ----

std::function<bool(std::int64_t)> UseQuestions::importing(const std::string& module,
                                                          const std::string& written,
                                                          const Components& wanted, bool is_file) {
  return [&module, &written, &wanted, is_file, this](std::int64_t file) {
    if (written == module) return true;
    const Components meant = module_components(written, _reader.file(file).path);
    return is_file ? !meant.empty() && may_be(meant, wanted) : ends_with(meant, wanted);
  };
}

// Besides the module as it is written, all names with the words of its last component are compared
// with it: whatever the same module is called elsewhere ends with that component.
Answer<Use> UseQuestions::importers(const std::string& module, const Filter& limits) {
  RowFilter filter(_reader, limits);
  const bool is_file = _reader.file_id(module).has_value();
  const Components wanted = is_file ? file_components(module) : module_components(module, "");
  Groups groups;
  const auto always = [](std::int64_t) { return true; };
  const auto exact = _reader.name_id(module);
  if (exact) add(groups, *exact, IMPORT_MODULE, filter, always);
  const auto words = words_in(wanted.empty() ? "" : words_of(wanted.back()));
  if (!words.empty()) {
    const std::string expression = all_of(words);
    _names_with_words.bindNoCopy(1, expression);
    while (!groups.is_cut && _names_with_words.executeStep()) {
      const std::int64_t name = _names_with_words.getColumn(0).getInt64();
      const std::string written = bytes_of(_names_with_words.getColumn(1));
      if (name == exact) continue;
      add(groups, name, IMPORT_MODULE, filter, importing(module, written, wanted, is_file));
    }
    _names_with_words.reset();
  }
  return shown(std::move(groups), filter.limit());
}

}  // namespace repository
