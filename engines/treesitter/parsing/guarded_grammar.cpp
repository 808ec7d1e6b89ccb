// See guarded_grammar.h.
#include "engines/treesitter/parsing/guarded_grammar.h"

#include <tree_sitter/api.h>

#include <cstddef>
#include <cstring>
#include <utility>

#include "engines/treesitter/guard_limits.h"
#include "engines/treesitter/memory/arena.h"
#include "engines/treesitter/parsing/parse_meter.h"

extern "C" {
#include <lib/src/parser.h>
}

namespace engines::treesitter {
namespace {

// The size of the library's buffer. States of this size are stored in the arena too, so that only a
// state's number has this size.
constexpr unsigned LIBRARY_STATE_BYTES = TREE_SITTER_SERIALIZATION_BUFFER_SIZE;

// The room behind the largest state. Scanners check before they write, but some of them up to 8
// bytes late. Ruby's reads up to 255 literals of 5 bytes and 255 heredocs of 259, whatever the
// state's size is, and compares sizes only afterwards.
constexpr std::size_t ROOM_BEHIND = 72 * 1024;

// Scanners may read to the end of a large file for every token, between two steps of the library,
// so the time is checked here too.
constexpr std::uint32_t ADVANCES_PER_CHECK = 64 * 1024;

thread_local constinit ScannerStates* current_states = nullptr;

bool scan_guarded(void* scanner, TSLexer* lexer, const bool* valid_symbols) {
  return current_states->scan(scanner, lexer, valid_symbols);
}

unsigned serialize_guarded(void* scanner, char* buffer) {
  return current_states->serialize(scanner, buffer);
}

void deserialize_guarded(void* scanner, const char* buffer, unsigned size) {
  current_states->deserialize(scanner, buffer, size);
}

void advance_guarded(TSLexer* lexer, bool skip) { current_states->advance(lexer, skip); }

}  // namespace

// Replaces `memcpy` in the scanners (cmake/scanner_prelude.h). Markdown's copies its whole stack of
// blocks into the state without checking whether it fits.
extern "C" void* treesitter_engine_copy(void* destination, const void* source, std::size_t size) {
  if (size == 0) return destination;  // the source may be null then
  if (current_states != nullptr) current_states->require_room(destination, size);
  return std::memcpy(destination, source, size);
}

GuardedGrammar::GuardedGrammar(const TSLanguage& grammar)
    : _original(grammar), _guarded(std::make_unique<TSLanguage>(grammar)) {
  if (grammar.external_scanner.scan == nullptr) return;
  _buffer = std::make_unique_for_overwrite<char[]>(SCANNER_STATE_BYTES + ROOM_BEHIND);
  _guarded->external_scanner.scan = scan_guarded;
  _guarded->external_scanner.serialize = serialize_guarded;
  _guarded->external_scanner.deserialize = deserialize_guarded;
}

GuardedGrammar::~GuardedGrammar() = default;

ScannerStates::ScannerStates(const GuardedGrammar& grammar, ParseArena& arena,
                             const ParseMeter& meter)
    : _grammar(grammar.original()),
      _arena(arena),
      _meter(meter),
      _buffer(grammar.buffer()),
      _before(std::exchange(current_states, this)) {}

ScannerStates::~ScannerStates() { current_states = _before; }

bool ScannerStates::scan(void* scanner, TSLexer* lexer, const bool* valid_symbols) {
  _advance = lexer->advance;
  lexer->advance = advance_guarded;
  const bool found = _grammar.external_scanner.scan(scanner, lexer, valid_symbols);
  lexer->advance = _advance;
  return found;
}

void ScannerStates::advance(TSLexer* lexer, bool skip) {
  if (++_advances % ADVANCES_PER_CHECK == 0) _meter.check_time();
  _advance(lexer, skip);
}

void ScannerStates::require_room(const void* destination, std::size_t size) const {
  const auto* const begin = static_cast<const char*>(destination);
  const char* const end = _buffer + SCANNER_STATE_BYTES;
  if (begin < _buffer || begin >= end + ROOM_BEHIND) return;  // not into the state
  if (begin > end || size > static_cast<std::size_t>(end - begin)) {
    throw GuardSpoke{Guard::scanner_state};
  }
}

unsigned ScannerStates::serialize(void* scanner, char* buffer) {
  const unsigned size = _grammar.external_scanner.serialize(scanner, _buffer);
  if (size > SCANNER_STATE_BYTES) throw GuardSpoke{Guard::scanner_state};
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
  std::string_view state(buffer, size);
  if (size == LIBRARY_STATE_BYTES) {
    std::uint32_t number = 0;
    std::memcpy(&number, buffer, sizeof number);
    state = _states[number];
  }
  if (!state.empty()) std::memcpy(_buffer, state.data(), state.size());
  _grammar.external_scanner.deserialize(scanner, _buffer, static_cast<unsigned>(state.size()));
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
