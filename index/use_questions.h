// The questions about references: who calls a name, what a symbol calls, what refers to a name, who
// imports a module. questions.h says what each answers.
//
// Cost: the references of the name, and the symbols of each file that the answer shows.
//
// Tested by tests/questions_test.py.
#pragma once

#include <SQLiteCpp/SQLiteCpp.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "index/meanings.h"
#include "index/paths.h"
#include "index/questions.h"
#include "index/reader.h"
#include "index/row_filter.h"

namespace repository {

class UseQuestions {
 public:
  explicit UseQuestions(Reader& reader);

  Answer<Use> callers(const std::string& name, const Filter& filter);
  Answer<Use> references(const std::string& name, const Filter& filter);
  std::optional<Answer<Use>> callees(const std::string& fqn, const Filter& filter);
  Answer<Use> importers(const std::string& module, const Filter& filter);

 private:
  // The uses of a name as one kind in a file.
  struct Group {
    std::int64_t file;
    std::int64_t name;
    std::size_t kind;   // in REFERENCE_KINDS
    std::string lines;  // packed (varint.h)
  };
  struct Groups {
    std::vector<Group> rows;
    std::size_t looked_at = 0;
    std::size_t lines = 0;
    bool is_cut = false;
  };

  Answer<Use> uses(const std::string& name, std::span<const std::size_t> kinds,
                   const Filter& filter);
  // Adds the uses of that name as that kind, in files for which `is_meant` gives true. False when
  // there are enough.
  bool add(Groups& groups, std::int64_t name, std::size_t kind, RowFilter& filter,
           const std::function<bool(std::int64_t file)>& is_meant);
  Answer<Use> shown(Groups groups, std::size_t limit);
  std::vector<Use> in_file(std::span<const Group> groups);
  std::vector<std::int64_t> symbols_meant(const std::string& fqn, RowFilter& filter);
  using Call = std::pair<std::uint64_t, std::int64_t>;  // line, name
  std::vector<Call> calls_in(std::int64_t file, const Definition& caller);
  using Known = std::unordered_map<std::int64_t, Definitions>;  // by name
  void add_callees(std::int64_t symbol, std::size_t limit, Known& known, Answer<Use>& answer);
  std::function<bool(std::int64_t)> importing(const std::string& module, const std::string& written,
                                              const Components& wanted, bool is_file);

  Reader& _reader;
  SQLite::Statement _names_with_words;
};

}  // namespace repository
