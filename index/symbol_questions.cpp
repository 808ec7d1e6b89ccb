// See symbol_questions.h.
#include "index/symbol_questions.h"

#include <algorithm>
#include <string_view>
#include <tuple>
#include <utility>

#include "index/index_error.h"
#include "index/statements.h"
#include "index/words.h"

namespace repository {

SymbolQuestions::SymbolQuestions(Reader& reader)
    : _reader(reader),
      _names(reader.connection()),
      _with_words(reader.connection(),
                  "SELECT rowid FROM symbol_words WHERE symbol_words MATCH ?") {}

void SymbolQuestions::add(const Reader::Ranked& symbol, unsigned quality, RowFilter& filter,
                          Rows& found) {
  const std::int64_t file = file_of(symbol.id);
  if (!filter.takes_kind(symbol.kind) || !filter.takes_file(file)) return;
  found.rows.push_back({quality, _reader.file(file).is_test, symbol.is_export, symbol.id});
}

// Paths order what is otherwise equal, so that the answer does not depend on the order in which
// files were written.
Answer<Definition> SymbolQuestions::best(Rows found, std::size_t limit) {
  const auto key = [&](const Row& row) {
    return std::tuple(row.quality, row.is_test, !row.is_export,
                      std::string_view(_reader.file(file_of(row.id)).path), row.id);
  };
  std::vector<Row>& rows = found.rows;
  const std::size_t count = std::min(rows.size(), limit);
  std::partial_sort(rows.begin(), rows.begin() + static_cast<std::ptrdiff_t>(count), rows.end(),
                    [&](const Row& one, const Row& other) { return key(one) < key(other); });
  Answer<Definition> answer;
  answer.is_cut = found.is_cut || count < rows.size();
  answer.rows.reserve(count);
  for (std::size_t i = 0; i < count; ++i) {
    answer.rows.push_back(_reader.definition(rows[i].id));
    answer.rows.back().quality = rows[i].quality;
  }
  return answer;
}

// After MANY_ROWS rows, and when the filter takes few files only, the name is asked for in each of
// those instead.
void SymbolQuestions::add_named(std::int64_t name, unsigned quality, RowFilter& filter,
                                Rows& found) {
  const std::size_t rows_before = found.rows.size();
  std::size_t count = 0;
  bool is_file_by_file = false;
  _reader.for_each_symbol(name, filter.kind(), [&](const Reader::Ranked& symbol) {
    found.is_cut = filter.is_enough(++found.looked_at, found.rows.size());
    is_file_by_file = ++count == MANY_ROWS && filter.few_files();
    if (found.is_cut || is_file_by_file) return false;
    add(symbol, quality, filter, found);
    return true;
  });
  if (found.is_cut || !is_file_by_file) return;
  found.rows.resize(rows_before);
  add_in_files(name, quality, filter, found);
}

void SymbolQuestions::add_in_files(std::int64_t name, unsigned quality, RowFilter& filter,
                                   Rows& found) {
  for (const std::int64_t file : *filter.few_files()) {
    for (const Reader::Ranked& symbol : _reader.symbols_named(name, file)) {
      ++found.looked_at;
      add(symbol, quality, filter, found);
    }
    found.is_cut = filter.is_enough(found.looked_at, found.rows.size());
    if (found.is_cut) return;
  }
}

Answer<Definition> SymbolQuestions::find(const FindQuestion& question) {
  RowFilter filter(_reader, question.filter);
  Rows found;
  _names(question.text, question.match, [&](std::int64_t name, unsigned quality) {
    ++found.looked_at;
    add_named(name, quality, filter, found);
    found.is_cut = found.is_cut || filter.is_enough(found.looked_at, found.rows.size());
    return !found.is_cut;
  });
  return best(std::move(found), filter.limit());
}

Answer<Definition> SymbolQuestions::search(const std::string& words, const Filter& limits) {
  RowFilter filter(_reader, limits);
  const auto asked = words_in(words);
  if (asked.empty()) throw QuestionError("'" + words + "' has no word to search for");
  const std::string expression = all_of(asked);
  _with_words.bindNoCopy(1, expression);
  Rows found;
  for (; _with_words.executeStep(); ++found.looked_at) {
    found.is_cut = filter.is_enough(found.looked_at, found.rows.size());
    if (found.is_cut) break;
    add(_reader.ranked(_with_words.getColumn(0).getInt64()), 0, filter, found);
  }
  _with_words.reset();
  return best(std::move(found), filter.limit());
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
