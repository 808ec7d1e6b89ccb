// Which definitions a name may mean in a file that uses it, by evidence: the file declares or
// imports the name, it imports a definition's module, it lies in the same folder, it is in the same
// language. The candidates are the definitions with the strongest evidence that any has.
//
// Cost: the definitions of a name are read once, and the imports of each file once; then a look-up
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
#include "index/paths.h"
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
  // Reads `at_most` of them. Those in a file that asks are always found.
  Definitions(Reader& reader, std::int64_t name, std::size_t at_most);

  // What the name may mean in a file that imports this.
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
  std::unordered_map<std::string, Places>
      _by_end;  // by the last component of the file and its folder
  std::unordered_map<std::string, Places> _by_folder;
  std::unordered_map<std::string_view, Places> _by_family;  // of languages
  bool _is_partial = false;
};

}  // namespace repository
