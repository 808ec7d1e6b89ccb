// See reader.h.
#include "index/reader.h"

#include <algorithm>

#include "engines/treesitter/treesitter.h"
#include "index/index_error.h"
#include "index/statements.h"
#include "index/varint.h"

namespace repository {
namespace {

using engines::treesitter::TreeSitterEngine;

Reader::Ranked ranked_row(const SQLite::Statement& statement) {
  return {statement.getColumn(0).getInt64(),
          static_cast<std::uint8_t>(statement.getColumn(1).getInt()),
          statement.getColumn(2).getInt() != 0};
}

[[noreturn]] void complain_of_damage(const std::string& what) {
  throw IndexError("the index is damaged: " + what + "; remove it, and make it anew");
}

}  // namespace

Reader::Reader(SQLite::Database connection)
    : _connection(std::move(connection)),
      _meta(_connection, "SELECT value FROM meta WHERE key = ?"),
      _name_id(_connection, "SELECT id FROM name WHERE text = ?"),
      _name_text(_connection, "SELECT text FROM name WHERE id = ?"),
      _file(_connection, "SELECT path, language FROM file WHERE id = ?"),
      _file_id(_connection, "SELECT id FROM file WHERE path = ?"),
      _symbols_named(_connection, "SELECT id, kind, export FROM symbol WHERE name = ? ORDER BY id"),
      _symbols_named_of_kind(_connection,
                             "SELECT id, kind, export FROM symbol INDEXED BY symbol_name "
                             "WHERE name = ? AND kind = ? ORDER BY id"),
      _symbols_named_in(_connection,
                        std::string("SELECT id, kind, export FROM symbol INDEXED BY symbol_name "
                                    "WHERE name = ?2 AND ") +
                            IN_FILE),
      _ranked(_connection, "SELECT id, kind, export FROM symbol WHERE id = ?"),
      _symbol_scope(_connection, "SELECT scope FROM symbol WHERE id = ?"),
      _symbol(_connection,
              "SELECT name, scope, kind, first, lines, export, signature, doc FROM symbol "
              "WHERE id = ?"),
      _symbols_of(_connection, std::string("SELECT id FROM symbol WHERE ") + IN_FILE),
      _spans_of(_connection,
                std::string("SELECT id, first, first + lines FROM symbol WHERE ") + IN_FILE),
      _scope(_connection,
             "SELECT parent, text FROM scope JOIN name ON name.id = scope.name WHERE scope.id = ?"),
      _references(_connection,
                  "SELECT file, lines FROM reference WHERE name = ? AND kind = ? ORDER BY file"),
      _lines(_connection, "SELECT lines FROM reference WHERE name = ? AND kind = ? AND file = ?"),
      _uses(_connection, "SELECT uses FROM file_use WHERE file = ?") {}

// ---- Names and files ----

std::optional<std::string> Reader::meta(const std::string& key) {
  _meta.bind(1, key);
  std::optional<std::string> value;
  if (_meta.executeStep()) value = bytes_of(_meta.getColumn(0));
  _meta.reset();
  return value;
}

std::optional<std::int64_t> Reader::name_id(const std::string& text) {
  _name_id.bindNoCopy(1, text);
  return number_of(_name_id);
}

std::string Reader::name_text(std::int64_t id) {
  _name_text.bind(1, id);
  if (!_name_text.executeStep()) complain_of_damage("a name is missing");
  std::string text = bytes_of(_name_text.getColumn(0));
  _name_text.reset();
  return text;
}

const Reader::File& Reader::file(std::int64_t id) {
  if (const auto found = _files.find(id); found != _files.end()) return found->second;
  _file.bind(1, id);
  if (!_file.executeStep()) complain_of_damage("a file is missing");
  File file{bytes_of(_file.getColumn(0)), bytes_of(_file.getColumn(1)), false};
  _file.reset();
  file.is_test = is_test_path(file.path);
  return _files.emplace(id, std::move(file)).first->second;
}

const Components& Reader::components(std::int64_t id) {
  const auto [found, is_new] = _components.try_emplace(id);
  if (is_new) found->second = file_components(file(id).path);
  return found->second;
}

std::optional<std::int64_t> Reader::file_id(const std::string& path) {
  bind_bytes(_file_id, 1, path);
  return number_of(_file_id);
}

// ---- Symbols ----

void Reader::for_each_symbol(std::int64_t name, std::optional<std::uint8_t> kind,
                             const std::function<bool(const Ranked&)>& take) {
  SQLite::Statement& statement = kind ? _symbols_named_of_kind : _symbols_named;
  statement.bind(1, name);
  if (kind) statement.bind(2, *kind);
  while (statement.executeStep()) {
    if (!take(ranked_row(statement))) break;
  }
  statement.reset();
}

Reader::Ranked Reader::ranked(std::int64_t symbol) {
  _ranked.bind(1, symbol);
  if (!_ranked.executeStep()) complain_of_damage("a symbol is missing");
  const Ranked found = ranked_row(_ranked);
  _ranked.reset();
  return found;
}

std::string Reader::holder(std::int64_t symbol) {
  _symbol_scope.bind(1, symbol);
  const std::int64_t scope = number_of(_symbol_scope).value_or(0);
  return TreeSitterEngine::fqn_prefix(file(file_of(symbol)).path) +
         scope_text(scope < 0 ? -scope : scope);
}

std::vector<Reader::Ranked> Reader::symbols_named(std::int64_t name, std::int64_t file) {
  _symbols_named_in.bind(1, file);
  _symbols_named_in.bind(2, name);
  std::vector<Ranked> found;
  while (_symbols_named_in.executeStep()) found.push_back(ranked_row(_symbols_named_in));
  _symbols_named_in.reset();
  return found;
}

std::vector<std::int64_t> Reader::symbols_of(std::int64_t file) {
  _symbols_of.bind(1, file);
  std::vector<std::int64_t> ids;
  while (_symbols_of.executeStep()) ids.push_back(_symbols_of.getColumn(0).getInt64());
  _symbols_of.reset();
  return ids;
}

const std::string& Reader::scope_text(std::int64_t scope) {
  const auto [known, is_new] = _scopes.try_emplace(scope);
  if (!is_new) return known->second;
  std::vector<std::string> parts;
  while (scope != 0) {
    _scope.bind(1, scope);
    if (!_scope.executeStep()) complain_of_damage("a scope is missing");
    const std::int64_t parent = _scope.getColumn(0).getInt64();
    parts.push_back(bytes_of(_scope.getColumn(1)));
    _scope.reset();
    if (parent >= scope) complain_of_damage("a scope encloses itself");
    scope = parent;
  }
  std::string& text = known->second;
  for (auto part = parts.rbegin(); part != parts.rend(); ++part) text.append(".").append(*part);
  return text;
}

std::string Reader::fqn(std::string prefix, std::int64_t scope, std::string_view name) {
  prefix += scope_text(scope < 0 ? -scope : scope);
  if (scope >= 0) prefix.append(".").append(name);
  return prefix;
}

std::uint8_t Reader::checked_kind(std::int64_t kind) {
  if (kind < 0 || kind >= std::int64_t{engines::models::SYMBOL_KIND_COUNT})
    complain_of_damage("a symbol has no kind");
  return static_cast<std::uint8_t>(kind);
}

Definition Reader::definition(std::int64_t symbol) {
  _symbol.bind(1, symbol);
  if (!_symbol.executeStep()) complain_of_damage("a symbol is missing");
  const auto number = [&](int column) { return _symbol.getColumn(column).getInt64(); };
  const std::int64_t kind = number(2);
  const auto first = static_cast<std::uint32_t>(number(3));
  const File& of = file(file_of(symbol));
  Definition found{.id = symbol,
                   .path = of.path,
                   .language = of.language,
                   .kind = engines::models::kind_text(
                       static_cast<engines::models::SymbolKind>(checked_kind(kind))),
                   .name = name_text(number(0)),
                   .fqn = {},
                   .first = first,
                   .last = first + static_cast<std::uint32_t>(number(4)),
                   .is_export = number(5) != 0,
                   .is_test = of.is_test,
                   .signature = text_or_none(_symbol.getColumn(6)),
                   .doc = text_or_none(_symbol.getColumn(7))};
  found.fqn = fqn(TreeSitterEngine::fqn_prefix(of.path), number(1), found.name);
  _symbol.reset();
  return found;
}

// Enclosing symbols come before those in them. So the symbols around a line are a stack, from which
// those that have ended are taken.
std::vector<std::int64_t> Reader::around(std::int64_t file,
                                         const std::vector<std::uint64_t>& lines) {
  struct Span {
    std::uint64_t first;
    std::uint64_t last;
    std::int64_t id;
  };
  std::vector<Span> spans;
  _spans_of.bind(1, file);
  while (_spans_of.executeStep()) {
    const auto number = [&](int column) { return _spans_of.getColumn(column).getInt64(); };
    spans.push_back(
        {static_cast<std::uint64_t>(number(1)), static_cast<std::uint64_t>(number(2)), number(0)});
  }
  _spans_of.reset();
  // In some languages declarations that share lines come in another order.
  std::stable_sort(spans.begin(), spans.end(), [](const Span& one, const Span& other) {
    return one.first != other.first ? one.first < other.first : one.last > other.last;
  });
  std::vector<std::int64_t> found;
  std::vector<Span> open;
  std::size_t next = 0;
  for (const std::uint64_t line : lines) {
    for (; next < spans.size() && spans[next].first <= line; ++next) {
      while (!open.empty() && open.back().last < spans[next].first) open.pop_back();
      open.push_back(spans[next]);
    }
    while (!open.empty() && open.back().last < line) open.pop_back();
    found.push_back(open.empty() ? 0 : open.back().id);
  }
  return found;
}

// ---- References ----

void Reader::for_each_reference(std::int64_t name, std::size_t kind,
                                const std::function<bool(const Reference&)>& take) {
  _references.bind(1, name);
  _references.bind(2, static_cast<std::int64_t>(kind));
  while (_references.executeStep()) {
    if (!take({_references.getColumn(0).getInt64(), bytes_of(_references.getColumn(1))})) break;
  }
  _references.reset();
}

std::optional<std::string> Reader::lines_of(std::int64_t name, std::size_t kind,
                                            std::int64_t file) {
  _lines.bind(1, name);
  _lines.bind(2, static_cast<std::int64_t>(kind));
  _lines.bind(3, file);
  std::optional<std::string> lines;
  if (_lines.executeStep()) lines = bytes_of(_lines.getColumn(0));
  _lines.reset();
  return lines;
}

std::vector<std::uint64_t> Reader::uses_of(std::int64_t file) {
  _uses.bind(1, file);
  std::string uses;
  if (_uses.executeStep()) uses = bytes_of(_uses.getColumn(0));
  _uses.reset();
  return unpack_rising(uses);
}

}  // namespace repository
