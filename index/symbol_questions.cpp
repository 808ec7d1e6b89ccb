// See symbol_questions.h.
#include "index/symbol_questions.h"

#include <algorithm>
#include <tuple>
#include <utility>

#include "index/index_error.h"
#include "index/statements.h"

namespace repository {
SymbolQuestions::SymbolQuestions(Reader& reader)
    : _reader(reader),
      _names(reader.connection()),
      _with_words(reader.connection(),
                  "SELECT rowid FROM symbol_words WHERE symbol_words MATCH ?") {}

void SymbolQuestions::add(std::int64_t symbol, unsigned quality, RowFilter& filter,
                          std::vector<Ranked>& found) {
  if (!filter.takes_file(file_of(symbol))) return;
  const Reader::Mark mark = _reader.mark(symbol);
  if (!filter.takes_kind(mark.kind)) return;
  found.push_back({quality, _reader.file(file_of(symbol)).is_test, mark.is_export, symbol});
}

// The paths decide between equals, so that an answer does not depend on the order of writing.
Answer<Definition> SymbolQuestions::best(std::vector<Ranked> found, std::size_t limit,
                                         bool is_cut) {
  const auto key = [&](const Ranked& row) {
    return std::tuple(row.quality, row.is_test, !row.is_export,
                      std::string_view(_reader.file(file_of(row.id)).path), row.id);
  };
  const std::size_t count = std::min(found.size(), limit);
  std::partial_sort(found.begin(), found.begin() + static_cast<std::ptrdiff_t>(count), found.end(),
                    [&](const Ranked& one, const Ranked& other) { return key(one) < key(other); });
  Answer<Definition> answer;
  answer.is_cut = is_cut || count < found.size();
  answer.rows.reserve(count);
  for (std::size_t i = 0; i < count; ++i) answer.rows.push_back(_reader.definition(found[i].id));
  return answer;
}

Answer<Definition> SymbolQuestions::find(const FindQuestion& question) {
  RowFilter filter(_reader, question.filter);
  std::vector<Ranked> found;
  std::size_t looked_at = 0;
  bool is_cut = false;
  _names(question.text, question.match, [&](std::int64_t name, unsigned quality) {
    ++looked_at;
    _reader.for_each_symbol(name, [&](std::int64_t symbol) {
      is_cut = filter.is_enough(++looked_at, found.size());
      if (!is_cut) add(symbol, quality, filter, found);
      return !is_cut;
    });
    is_cut = is_cut || filter.is_enough(looked_at, found.size());
    return !is_cut;
  });
  return best(std::move(found), filter.limit(), is_cut);
}

Answer<Definition> SymbolQuestions::search(const std::string& words, const Filter& limits) {
  RowFilter filter(_reader, limits);
  const auto asked = words_in(words);
  if (asked.empty()) throw QuestionError("'" + words + "' has no word to search for");
  const std::string expression = all_of(asked);
  _with_words.bindNoCopy(1, expression);
  std::vector<Ranked> found;
  bool is_cut = false;
  for (std::size_t looked_at = 0; !is_cut && _with_words.executeStep(); ++looked_at) {
    is_cut = filter.is_enough(looked_at, found.size());
    if (is_cut) break;
    add(_with_words.getColumn(0).getInt64(), 0, filter, found);
  }
  _with_words.reset();
  return best(std::move(found), filter.limit(), is_cut);
}

std::optional<Answer<Definition>> SymbolQuestions::outline(const std::string& path) {
  const auto file = _reader.file_id(path);
  if (!file) return std::nullopt;
  Answer<Definition> answer;
  for (const std::int64_t id : _reader.symbols_of(*file)) {
    answer.rows.push_back(_reader.definition(id));
  }
  return answer;
}

}  // namespace repository
