#include "engines/treesitter/core/guarded_grammar.h"

#include <tree_sitter/api.h>

#include <cstddef>
#include <cstring>

#include "engines/treesitter/core/arena.h"

extern "C" {
#include <lib/src/parser.h>
}

namespace engines::treesitter {
namespace {

// The library's room. A state of just this size is never passed on as it is, so that the size tells
// a state's number from a state.
constexpr unsigned LIBRARY_STATE_BYTES = TREE_SITTER_SERIALIZATION_BUFFER_SIZE;

thread_local constinit ScannerStates* current_states = nullptr;

unsigned serialize_guarded(void* scanner, char* buffer) {
  return current_states->serialize(scanner, buffer);
}

void deserialize_guarded(void* scanner, const char* buffer, unsigned size) {
  current_states->deserialize(scanner, buffer, size);
}

// Grammars generated for older versions of the library end before the fields that came later.
std::size_t size_of_language(const TSLanguage& grammar) {
  return grammar.abi_version < 15 ? offsetof(TSLanguage, name) : sizeof(TSLanguage);
}

}  // namespace

GuardedGrammar::GuardedGrammar(const TSLanguage& grammar)
    : _original(grammar), _guarded(std::make_unique<TSLanguage>()) {
  std::memcpy(_guarded.get(), &grammar, size_of_language(grammar));
  if (grammar.external_scanner.serialize == nullptr) return;
  _guarded->external_scanner.serialize = serialize_guarded;
  _guarded->external_scanner.deserialize = deserialize_guarded;
}

GuardedGrammar::~GuardedGrammar() = default;

ScannerStates::ScannerStates(const GuardedGrammar& grammar, ParseArena& arena)
    : _grammar(grammar.original()),
      _arena(arena),
      _buffer(static_cast<char*>(arena.allocate(SCANNER_STATE_BYTES))) {
  current_states = this;
}

ScannerStates::~ScannerStates() { current_states = nullptr; }

unsigned ScannerStates::serialize(void* scanner, char* buffer) {
  const unsigned size = _grammar.external_scanner.serialize(scanner, _buffer);
  if (size > SCANNER_STATE_BYTES) throw ScannerStateOverflow();
  if (size < LIBRARY_STATE_BYTES) {
    std::memcpy(buffer, _buffer, size);
    return size;
  }
  const std::uint32_t number = number_of({_buffer, size});
  std::memset(buffer, 0, LIBRARY_STATE_BYTES);
  std::memcpy(buffer, &number, sizeof number);
  return LIBRARY_STATE_BYTES;
}

void ScannerStates::deserialize(void* scanner, const char* buffer, unsigned size) const {
  if (size < LIBRARY_STATE_BYTES) {
    _grammar.external_scanner.deserialize(scanner, buffer, size);
    return;
  }
  std::uint32_t number = 0;
  std::memcpy(&number, buffer, sizeof number);
  const std::string_view state = _states[number];
  _grammar.external_scanner.deserialize(scanner, state.data(), static_cast<unsigned>(state.size()));
}

std::uint32_t ScannerStates::number_of(std::string_view state) {
  if (const auto found = _numbers.find(state); found != _numbers.end()) return found->second;
  const auto number = static_cast<std::uint32_t>(_states.size());
  auto* const kept = static_cast<char*>(_arena.allocate(state.size()));
  std::memcpy(kept, state.data(), state.size());
  _states.emplace_back(kept, state.size());
  return _numbers.emplace(_states.back(), number).first->second;
}

}  // namespace engines::treesitter
