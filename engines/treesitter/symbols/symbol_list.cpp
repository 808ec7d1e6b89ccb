// See symbol_list.h.
#include "engines/treesitter/symbols/symbol_list.h"

#include <algorithm>
#include <stdexcept>

#include "engines/treesitter/guard_limits.h"
#include "engines/treesitter/reading/source.h"

namespace engines::treesitter {
namespace {

bool is_digested(std::string_view kind) { return kind == "function" || kind == "method"; }

constexpr std::uint64_t max_result_text(std::size_t size) {
  return RESULT_TEXT_FLOOR + RESULT_TEXT_PER_BYTE * size;
}

std::uint64_t size_of(const std::optional<std::string>& text) { return text ? text->size() : 0; }

}  // namespace

TreeSitterEngine::SymbolList::SymbolList(const Source& content, std::string_view language,
                                         std::string fqn_prefix, std::int64_t file_id)
    : _content(content),
      _language(language),
      _fqn_prefix(std::move(fqn_prefix)),
      _file_id(file_id),
      _text_left(max_result_text(content.bytes().size())) {}

std::string_view TreeSitterEngine::SymbolList::fqn(FqnId id) const {
  if (id == FILE_PREFIX) return _fqn_prefix;
  return id >= 0 ? _symbols[static_cast<std::size_t>(id)].fqn
                 : _scopes[static_cast<std::size_t>(-1 - id)];
}

bool TreeSitterEngine::SymbolList::is_visible(FqnId id) const {
  return id >= 0 && id != FILE_PREFIX && _symbols[static_cast<std::size_t>(id)].is_export;
}

models::SymbolArguments TreeSitterEngine::SymbolList::begin(const Found& found) {
  _content.check_cancelled();  // an FQN may be as long as the file
  spend(fqn(found.parent).size() + 1 + found.qualified_name.size() + found.name.size());
  return {
      .id = std::nullopt,
      .file_id = _file_id,
      .name = found.name,
      .kind = found.kind,
      .fqn = qualified(found.parent, found.qualified_name),
      .start_line = found.lines.start_row() + 1,
      .end_line = found.lines.end_row() + 1,
      .signature = signature(found.lines),
      .is_export = false,
      .docstring = std::nullopt,
      .body_digest = std::nullopt,
  };
}

TreeSitterEngine::SymbolList::FqnId TreeSitterEngine::SymbolList::add(
    const Found& found, models::SymbolArguments arguments) {
  if (is_digested(found.kind)) {
    arguments.body_digest = _extract_body_digest(found.node, _content);
  }
  spend(size_of(arguments.signature) + size_of(arguments.docstring) +
        size_of(arguments.body_digest));
  try {
    _symbols.emplace_back(std::move(arguments));
    return static_cast<FqnId>(_symbols.size()) - 1;
  } catch (const std::invalid_argument& error) {
    _errors.push_back("Invalid symbol " + found.name + ": " + error.what());
    _scopes.push_back(qualified(found.parent, found.qualified_name));
    return -static_cast<FqnId>(_scopes.size());
  }
}

TreeSitterEngine::SymbolList::FqnId TreeSitterEngine::SymbolList::add_scope(
    FqnId parent, std::string_view qualified_name) {
  spend(fqn(parent).size() + 1 + qualified_name.size());
  _scopes.push_back(qualified(parent, qualified_name));
  return -static_cast<FqnId>(_scopes.size());
}

void TreeSitterEngine::SymbolList::put_in_order() {
  const auto is_before = [](const models::Symbol& one, const models::Symbol& other) {
    return one.start_line < other.start_line;
  };
  if (std::is_sorted(_symbols.begin(), _symbols.end(), is_before)) return;
  std::stable_sort(_symbols.begin(), _symbols.end(), is_before);
}

std::pair<std::vector<models::Symbol>, std::vector<std::string>>
TreeSitterEngine::SymbolList::take() {
  return {std::move(_symbols), std::move(_errors)};
}

std::string TreeSitterEngine::SymbolList::qualified(FqnId parent, std::string_view name) const {
  const std::string_view prefix = fqn(parent);
  std::string text;
  text.reserve(prefix.size() + 1 + name.size());
  return text.append(prefix).append(1, '.').append(name);
}

// Symbols that start on one row have the same signature, and a minified file is one row.
const std::optional<std::string>& TreeSitterEngine::SymbolList::signature(const Node& node) {
  if (_signature_row != node.start_row()) {
    _signature = _get_signature(node, _content, _language);
    _signature_row = node.start_row();
  }
  return _signature;
}

void TreeSitterEngine::SymbolList::spend(std::uint64_t size) {
  if (size > _text_left) {
    throw ResultLimitError("the symbols of this file hold more text than " +
                           std::to_string(max_result_text(_content.bytes().size())) + " bytes");
  }
  _text_left -= size;
  _room.add(size);
}

}  // namespace engines::treesitter
