// Which definitions a name may mean in a file that uses it, by evidence: what the file declares,
// what it imports, what lies beside it, its language. The strongest
// evidence that some definition has narrows the candidates to those that have it.
//
// Cost: the definitions are read once per name, what a file imports once per file; then a look-up
// for each module that the file imports.
//
// Tested by tests/questions_test.py.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "index/answers.h"
#include "index/module_path.h"
#include "index/reader.h"

namespace repository {

// What a file imports.
struct Imports {
  std::unordered_set<std::int64_t> names;
  std::vector<Components> modules;
};

Imports imports_of(Reader& reader, std::int64_t file);

// The definitions of one name.
class Definitions {
 public:
  // Reads `at_most` of them, beside those of an asking file, which are found always.
  Definitions(Reader& reader, std::int64_t name, std::size_t at_most);

  Meanings in(std::int64_t file, const Imports& imports);

 private:
  using Places = std::vector<std::size_t>;  // in _ids, rising
  struct Backed {
    std::int64_t id;
    std::vector<std::string_view> evidence;
  };

  void add(std::int64_t id);
  Places imported(const Imports& imports) const;
  std::vector<Backed> backed(const Places& places,
                             const std::vector<std::string_view>& evidence) const;
  std::vector<Backed> of_other_languages() const;
  Meanings listed(const std::vector<Backed>& found);

  Reader& _reader;
  const std::int64_t _name;
  std::vector<std::int64_t> _ids;
  std::unordered_map<std::string, Places> _by_end;  // by the last component of file or folder
  std::unordered_map<std::string, Places> _by_folder;
  std::unordered_map<std::string_view, Places> _by_family;  // of languages
  bool _is_partial = false;
};

}  // namespace repository
