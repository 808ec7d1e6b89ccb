// See packed_file.h.
#include "index/packed_file.h"

#include <algorithm>
#include <deque>
#include <string_view>
#include <tuple>
#include <unordered_map>
#include <utility>

#include "engines/treesitter/text/hash.h"
#include "index/schema.h"
#include "index/varint.h"

namespace repository {
namespace {

using engines::models::Symbol;
using engines::treesitter::ParseResult;
using engines::treesitter::ReferenceInfo;

struct Hash {
  std::size_t operator()(std::string_view text) const { return engines::treesitter::hash_of(text); }
  // Numbers stay apart when they are multiplied by an odd number. They are places in lists, so that
  // no file can be written to make them collide.
  std::size_t operator()(std::pair<std::int64_t, std::uint32_t> pair) const {
    return static_cast<std::size_t>(pair.first) * 0x9E3779B97F4A7C15U + pair.second;
  }
};

class Packer {
 public:
  explicit Packer(std::string prefix) : _prefix(std::move(prefix)) {}

  void add(Symbol& symbol);
  void add(std::vector<ReferenceInfo>& references);
  PackedFile take();

 private:
  std::uint32_t name(std::string_view text);
  std::int64_t scope(std::string_view text);

  const std::string _prefix;  // of the file's FQNs, with the full stop behind it
  PackedFile _packed;
  std::deque<std::string> _names;  // never move, since _numbers points into them
  std::unordered_map<std::string_view, std::uint32_t, Hash> _numbers;
  std::unordered_map<std::pair<std::int64_t, std::uint32_t>, std::int64_t, Hash> _scopes;
  std::string _last_scope;
  std::int64_t _last_scope_number = PackedFile::NO_SCOPE;
};

std::uint32_t Packer::name(std::string_view text) {
  if (const auto found = _numbers.find(text); found != _numbers.end()) return found->second;
  const auto number = static_cast<std::uint32_t>(_names.size());
  _numbers.emplace(_names.emplace_back(text), number);
  return number;
}

std::int64_t Packer::scope(std::string_view text) {
  if (_last_scope_number != PackedFile::NO_SCOPE && text == _last_scope) return _last_scope_number;
  _last_scope = text;
  std::int64_t number = PackedFile::NO_SCOPE;
  for (bool is_last = false; !is_last;) {
    const std::size_t stop = text.find('.');
    is_last = stop == std::string_view::npos;
    const std::uint32_t component = name(text.substr(0, stop));
    const auto [found, is_new] =
        _scopes.try_emplace({number, component}, static_cast<std::int64_t>(_packed.scopes.size()));
    if (is_new) _packed.scopes.push_back({number, component});
    number = found->second;
    if (!is_last) text.remove_prefix(stop + 1);
  }
  return _last_scope_number = number;
}

void Packer::add(Symbol& symbol) {
  std::string_view rest = symbol.fqn;
  rest.remove_prefix(std::min(rest.size(), _prefix.size()));
  PackedFile::Symbol packed{.name = name(symbol.name),
                            .scope = PackedFile::NO_SCOPE,
                            .scope_is_all = false,
                            .kind = static_cast<std::uint8_t>(symbol.kind),
                            .first = symbol.start_line,
                            .lines = symbol.end_line - symbol.start_line,
                            .is_export = symbol.is_export,
                            .signature = std::move(symbol.signature),
                            .doc = std::move(symbol.docstring)};
  if (rest != symbol.name) {
    const bool ends_with_name = rest.size() > symbol.name.size() && rest.ends_with(symbol.name) &&
                                rest[rest.size() - symbol.name.size() - 1] == '.';
    if (ends_with_name) rest.remove_suffix(symbol.name.size() + 1);
    packed.scope_is_all = !ends_with_name;
    packed.scope = scope(rest);
  }
  _packed.symbols.push_back(std::move(packed));
}

void Packer::add(std::vector<ReferenceInfo>& references) {
  std::vector<std::tuple<std::uint32_t, std::uint8_t, std::uint32_t>> uses;  // name, kind, line
  uses.reserve(references.size());
  for (const ReferenceInfo& reference : references) {
    const auto* const kind =
        std::find(REFERENCE_KINDS.begin(), REFERENCE_KINDS.end(), reference.kind);
    uses.emplace_back(name(reference.name),
                      static_cast<std::uint8_t>(kind - REFERENCE_KINDS.begin()), reference.line);
  }
  std::sort(uses.begin(), uses.end());
  std::uint32_t last_line = 0;
  for (const auto& [number, kind, line] : uses) {
    auto& packed = _packed.references;
    if (packed.empty() || packed.back().name != number || packed.back().kind != kind) {
      packed.push_back({number, kind, {}});
      last_line = 0;
    }
    append_varint(packed.back().lines, line - last_line);
    last_line = line;
  }
}

PackedFile Packer::take() {
  _numbers.clear();
  _packed.names.assign(std::make_move_iterator(_names.begin()),
                       std::make_move_iterator(_names.end()));
  return std::move(_packed);
}

}  // namespace

std::size_t PackedFile::size() const {
  std::size_t bytes = sizeof(PackedFile) + scopes.size() * sizeof(Scope);
  for (const std::string& name : names) bytes += sizeof(std::string) + name.size();
  for (const Symbol& symbol : symbols) {
    bytes += sizeof(symbol) + symbol.signature.value_or("").size() + symbol.doc.value_or("").size();
  }
  for (const Reference& reference : references) bytes += sizeof(reference) + reference.lines.size();
  return bytes;
}

PackedFile pack(ParseResult& result) {
  std::vector<Symbol> symbols = std::move(result.symbols);
  std::vector<ReferenceInfo> references = std::move(result.references);
  result.symbols = {};
  result.references = {};
  if (symbols.size() >> ORDINAL_BITS != 0) {
    result.errors.push_back("the file has " + std::to_string(symbols.size()) +
                            " symbols, and an index holds " +
                            std::to_string((1U << ORDINAL_BITS) - 1) + " of one file");
    return {};
  }
  Packer packer(engines::treesitter::TreeSitterEngine::fqn_prefix(result.path) + '.');
  for (Symbol& symbol : symbols) packer.add(symbol);
  packer.add(references);
  return packer.take();
}

}  // namespace repository
