// The questions that references answer: who calls, what is called, who refers to a name, who
// imports a module.
//
// Cost: the references of a name, of which those in each file that is shown are put under the
// symbols around them.
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
#include <vector>

#include "index/meanings.h"
#include "index/module_path.h"
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
  // What a name is used for in a file.
  struct Group {
    std::int64_t file;
    std::int64_t name;
    std::size_t kind;
    std::string lines;
  };
  struct Groups {
    std::vector<Group> rows;
    std::size_t looked_at = 0;
    std::size_t lines = 0;
    bool is_cut = false;
  };

  Answer<Use> uses(const std::string& name, std::span<const std::size_t> kinds,
                   const Filter& filter);
  // Adds those of that name and kind for which `is_meant`; gives no when there are enough.
  bool add(Groups& groups, std::int64_t name, std::size_t kind, RowFilter& filter,
           const std::function<bool(std::int64_t file)>& is_meant);
  Answer<Use> shown(Groups groups, std::size_t limit);
  std::vector<Use> in_file(std::span<const Group> groups);
  std::vector<std::int64_t> symbols_meant(const std::string& fqn, RowFilter& filter);
  // By name.
  using Known = std::unordered_map<std::int64_t, Definitions>;
  void add_callees(std::int64_t symbol, std::size_t limit, Known& known, Answer<Use>& answer);
  std::function<bool(std::int64_t)> importing(const std::string& module, const std::string& written,
                                              const Components& wanted, bool is_file);

  Reader& _reader;
  SQLite::Statement _names_with_words;
};

}  // namespace repository
