// See meanings.h.
#include "index/meanings.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "index/schema.h"

namespace repository {
namespace {

// Candidates that are listed; the others are only counted.
constexpr std::size_t MOST_LISTED = 5;

// Languages whose code calls each other's by name count as one.
std::string_view family(std::string_view language) {
  return language == "typescript" || language == "tsx" ? "javascript" : language;
}

std::string folder_of(const std::string& path) {
  const std::size_t slash = path.rfind('/');
  return slash == std::string::npos ? "" : path.substr(0, slash);
}

void sort_out(std::vector<std::size_t>& places) {
  std::sort(places.begin(), places.end());
  places.erase(std::unique(places.begin(), places.end()), places.end());
}

}  // namespace

Imports imports_of(Reader& reader, std::int64_t file) {
  Imports imports;
  const std::string& path = reader.file(file).path;
  for (const std::uint64_t use : reader.uses_of(file)) {
    if (kind_of(use) == IMPORT) imports.names.insert(name_of(use));
    if (kind_of(use) == IMPORT_MODULE) {
      imports.modules.push_back(module_components(reader.name_text(name_of(use)), path));
    }
  }
  return imports;
}

Definitions::Definitions(Reader& reader, std::int64_t name, std::size_t at_most)
    : _reader(reader), _name(name) {
  std::vector<std::int64_t> ids;
  _reader.for_each_symbol(name, std::nullopt, [&](const Reader::Ranked& symbol) {
    _is_partial = ids.size() == at_most;
    if (!_is_partial) ids.push_back(symbol.id);
    return !_is_partial;
  });
  // Definitions in tests are listed last.
  std::stable_partition(ids.begin(), ids.end(),
                        [&](std::int64_t id) { return !_reader.file(file_of(id)).is_test; });
  for (const std::int64_t id : ids) add(id);
}

void Definitions::add(std::int64_t id) {
  const std::size_t place = _ids.size();
  _ids.push_back(id);
  const Reader::File& file = _reader.file(file_of(id));
  const Components& components = _reader.components(file_of(id));
  if (!components.empty()) _by_end[components.back()].push_back(place);
  if (components.size() > 1) _by_end[components[components.size() - 2]].push_back(place);
  _by_folder[folder_of(file.path)].push_back(place);
  _by_family[family(file.language)].push_back(place);
}

Definitions::Places Definitions::imported(const Imports& imports) const {
  Places places;
  for (const Components& module : imports.modules) {
    if (module.empty()) continue;
    const auto found = _by_end.find(module.back());
    if (found == _by_end.end()) continue;
    std::copy_if(found->second.begin(), found->second.end(), std::back_inserter(places),
                 [&](std::size_t place) {
                   return may_be(module, _reader.components(file_of(_ids[place])));
                 });
  }
  sort_out(places);
  return places;
}

std::vector<Definitions::Backed> Definitions::backed(
    const Places& places, const std::vector<std::string_view>& evidence) const {
  std::vector<Backed> found;
  found.reserve(places.size());
  for (const std::size_t place : places) found.push_back({_ids[place], evidence});
  return found;
}

Meanings Definitions::listed(const std::vector<Backed>& found) {
  Meanings meanings;
  meanings.count = found.size();
  meanings.definitions = _ids.size();
  meanings.is_partial = _is_partial;
  for (std::size_t i = 0; i < std::min(found.size(), MOST_LISTED); ++i) {
    meanings.candidates.push_back({_reader.definition(found[i].id), found[i].evidence});
  }
  return meanings;
}

Meanings Definitions::in(std::int64_t file, const Imports& imports) {
  const Places places = imported(imports);
  std::vector<Backed> own;
  for (const Reader::Ranked& symbol : _reader.symbols_named(_name, file)) {
    own.push_back({symbol.id, {"declared in this file"}});
  }
  if (imports.names.contains(_name)) {
    for (const Backed& found : backed(places, {"imported here"})) {
      if (file_of(found.id) != file) own.push_back(found);
    }
  }
  if (!own.empty()) return listed(own);
  if (!places.empty()) return listed(backed(places, {"its module is imported here"}));
  const Reader::File& asking = _reader.file(file);
  const auto language = _by_family.find(family(asking.language));
  if (language == _by_family.end()) return listed(of_other_languages());
  // The same folder counts only within the same language.
  Places beside;
  if (const auto found = _by_folder.find(folder_of(asking.path)); found != _by_folder.end()) {
    std::set_intersection(found->second.begin(), found->second.end(), language->second.begin(),
                          language->second.end(), std::back_inserter(beside));
  }
  if (!beside.empty()) return listed(backed(beside, {"same folder", "same language"}));
  return listed(backed(language->second, {"same language"}));
}

std::vector<Definitions::Backed> Definitions::of_other_languages() const {
  std::vector<Backed> found;
  for (const std::int64_t id : _ids) found.push_back({id, {"another language"}});
  return found;
}

}  // namespace repository
