// Ruby's sections under the standard rules: `private`, `protected` or `public` in a body sets the
// visibility of all methods behind it in that body, up to the next such word.
//
// The changes of a body are found once per file, kept in the thread's cache and searched by
// bisection, so that 10,000 methods among 10,000 changes cost one pass and 10,000 short searches. A
// word with arguments counts as one without: `private :helper` hides all later methods too.
//
// Throws Utf8Error if the name of a call in the body is no UTF-8.
//
// Tested by tests/visibility_test.cpp.
#include <algorithm>
#include <cstdint>
#include <iterator>
#include <optional>
#include <string_view>
#include <utility>
#include <vector>

#include "engines/treesitter/core/thread_storage.h"
#include "engines/treesitter/parsing/node.h"
#include "engines/treesitter/treesitter.h"

namespace engines::treesitter {
namespace {

constexpr std::string_view PUBLIC = "public";
constexpr std::string_view VISIBILITY_WORDS[] = {"private", "protected", PUBLIC};

// The word with this text, or none. The view lives as long as the process.
std::optional<std::string_view> visibility_word(std::optional<std::string_view> text) {
  if (!text) return std::nullopt;
  const auto word = std::find(std::begin(VISIBILITY_WORDS), std::end(VISIBILITY_WORDS), *text);
  if (word == std::end(VISIBILITY_WORDS)) return std::nullopt;
  return *word;
}

}  // namespace

// The cache identifies a body by its start alone. Two bodies that start at the same place have the
// changes of the one that was looked up first.
bool TreeSitterEngine::_is_ruby_public(const Node& node) const {
  if (node.type() != NodeType::method && node.type() != NodeType::singleton_method) return true;
  const std::optional<Node> parent = node.parent();
  if (!parent) return true;
  RubyVisibilityCache& cache = _get_thread_local_storage().ruby_visibility_cache;
  const std::pair key(parent->start_row(), parent->start_column());
  auto entry = cache.find(key);
  if (entry == cache.end()) {
    entry = cache.emplace(key, _build_ruby_visibility_map(*parent)).first;
  }
  // The last change up to the method's row holds. One on the same row counts on both sides of the
  // method.
  const RubyVisibilityMap& changes = entry->second;
  const auto later =
      std::upper_bound(changes.begin(), changes.end(), node.start_row(),
                       [](std::uint32_t row, const auto& change) { return row < change.first; });
  return later == changes.begin() || std::prev(later)->second == PUBLIC;
}

std::vector<std::pair<std::uint32_t, std::string_view>>
TreeSitterEngine::_build_ruby_visibility_map(const Node& parent) {
  std::vector<std::pair<std::uint32_t, std::string_view>> changes;
  for (const Node child : parent.children()) {
    std::optional<std::string_view> name;
    if (child.type() == NodeType::call) {
      name = _get_ruby_call_name(child);
    } else if (child.type() == NodeType::identifier) {
      name = _node_text(child);
    }
    if (const auto word = visibility_word(name)) changes.emplace_back(child.start_row(), *word);
  }
  std::stable_sort(changes.begin(), changes.end(),
                   [](const auto& a, const auto& b) { return a.first < b.first; });
  return changes;
}

// The first identifier: `helper` for `helper.private`.
std::optional<std::string_view> TreeSitterEngine::_get_ruby_call_name(const Node& node) {
  const std::optional<Node> name = node.first_child(NodeType::identifier);
  return name ? _node_text(*name) : std::nullopt;
}

}  // namespace engines::treesitter
