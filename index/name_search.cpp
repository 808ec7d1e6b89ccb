// See name_search.h.
#include "index/name_search.h"

#include <algorithm>
#include <vector>

#include "index/statements.h"
#include "index/words.h"

namespace repository {
namespace {

constexpr std::size_t TRIGRAM = 3;  // characters

// No UTF-8 has this byte: a text with it at the end sorts behind all that begin with the text.
constexpr char LAST_BYTE = '\xFF';

// Where each character of a text begins, then the text's size.
std::vector<std::size_t> character_starts(std::string_view text) {
  std::vector<std::size_t> starts;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if ((static_cast<unsigned char>(text[i]) & 0xC0U) != 0x80U) starts.push_back(i);
  }
  starts.push_back(text.size());
  return starts;
}

std::vector<std::string> trigrams(std::string_view text) {
  const auto starts = character_starts(text);
  std::vector<std::string> parts;
  for (std::size_t i = 0; i + TRIGRAM < starts.size(); ++i) {
    parts.emplace_back(text.substr(starts[i], starts[i + TRIGRAM] - starts[i]));
  }
  std::sort(parts.begin(), parts.end());
  parts.erase(std::unique(parts.begin(), parts.end()), parts.end());
  return parts;
}

// For all but whole names, which have 0 and 1: the beginning before other parts, and each in the
// same case before other cases.
unsigned part_quality(const std::string& name, const std::string& text) {
  if (name.starts_with(text)) return 2;
  if (name.find(text) != std::string::npos) return 4;
  return folded(name).starts_with(folded(text)) ? 3 : 5;
}

}  // namespace

NameSearch::NameSearch(SQLite::Database& connection)
    : _whole(connection,
             "SELECT id, text FROM name WHERE text = ?1 COLLATE NOCASE ORDER BY text <> ?1"),
      _beginning(connection,
                 "SELECT id, text FROM name WHERE text >= ?1 COLLATE NOCASE AND "
                 "text < ?2 COLLATE NOCASE ORDER BY text COLLATE NOCASE"),
      _with_part(connection,
                 "SELECT name.id, name.text FROM name_trigram JOIN name "
                 "ON name.id = name_trigram.rowid WHERE name_trigram MATCH ?"),
      _with_words(connection,
                  "SELECT name.id, name.text FROM name_words JOIN name "
                  "ON name.id = name_words.rowid WHERE name_words MATCH ?") {}

bool NameSearch::give(SQLite::Statement& statement,
                      const std::function<unsigned(const std::string&)>& quality,
                      const Take& take) {
  constexpr unsigned NONE = UINT32_MAX;
  bool goes_on = true;
  while (goes_on && statement.executeStep()) {
    const std::int64_t id = statement.getColumn(0).getInt64();
    const unsigned found = quality(bytes_of(statement.getColumn(1)));
    if (found == NONE || !_given.insert(id).second) continue;
    goes_on = take(id, found);
  }
  statement.reset();
  return goes_on;
}

bool NameSearch::whole(const std::string& text, const Take& take) {
  _whole.bindNoCopy(1, text);
  return give(
      _whole, [&](const std::string& name) { return name == text ? 0U : 1U; }, take);
}

bool NameSearch::beginning(const std::string& text, const Take& take) {
  const std::string end = text + LAST_BYTE;
  _beginning.bindNoCopy(1, text);
  _beginning.bindNoCopy(2, end);
  return give(
      _beginning, [&](const std::string& name) { return part_quality(name, text); }, take);
}

// The table says which names have all trigrams, but not in which order; so each is compared.
bool NameSearch::with_part(const std::string& text, const Take& take) {
  const auto parts = trigrams(text);
  if (parts.empty()) return with_words(text, take);
  const std::string expression = all_of(parts);
  const std::string lower = folded(text);
  _with_part.bindNoCopy(1, expression);
  return give(
      _with_part,
      [&](const std::string& name) {
        return folded(name).find(lower) == std::string::npos ? UINT32_MAX
                                                             : part_quality(name, text);
      },
      take);
}

bool NameSearch::with_words(const std::string& text, const Take& take) {
  const auto parts = words_in(words_of(text));
  if (parts.empty()) return true;
  const std::string expression = all_of(parts, " *");
  _with_words.bindNoCopy(1, expression);
  return give(
      _with_words, [&](const std::string& name) { return part_quality(name, text); }, take);
}

void NameSearch::operator()(std::string_view text, Match match, const Take& take) {
  _given.clear();
  const std::string wanted(text);
  if (!whole(wanted, take) || match == Match::exact || !beginning(wanted, take)) return;
  if (match == Match::substring) with_part(wanted, take);
  if (match == Match::fuzzy) with_words(wanted, take);
}

}  // namespace repository
