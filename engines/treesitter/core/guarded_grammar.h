// GuardedGrammar: a grammar whose scanner may keep more state than the library has room for.
//
// A scanner's state is saved with every token that it gave, in at most 1,024 bytes; some scanners
// write past that end (254 nested sequences in YAML, 300 block quotes in Markdown), and others drop
// what does not fit. Here they write into 64 KiB. A state that is too large for the library is kept
// beside it, once for all tokens that share it, and the library gets its number instead.
//
// Tested by tests/guards_test.cpp.
#pragma once

#include <cstdint>
#include <memory>
#include <string_view>
#include <unordered_map>
#include <vector>

struct TSLanguage;

namespace engines::treesitter {

class ParseArena;

// A parse whose scanner has more state than SCANNER_STATE_BYTES.
struct ScannerStateOverflow {};
inline constexpr std::size_t SCANNER_STATE_BYTES = 64 * 1024;

class GuardedGrammar {
 public:
  // `grammar` must outlive this.
  explicit GuardedGrammar(const TSLanguage& grammar);
  ~GuardedGrammar();

  // What a parser is to be constructed from. Only to be used while a ScannerStates exists.
  const TSLanguage* grammar() const { return _guarded.get(); }
  const TSLanguage& original() const { return _original; }

 private:
  const TSLanguage& _original;
  std::unique_ptr<TSLanguage> _guarded;
};

// The large states of one parse. While it exists, it serves the scanner of the calling thread.
class ScannerStates {
 public:
  ScannerStates(const GuardedGrammar& grammar, ParseArena& arena);
  ~ScannerStates();
  ScannerStates(const ScannerStates&) = delete;
  ScannerStates& operator=(const ScannerStates&) = delete;

  // What the library calls in the place of the scanner's own operations.
  unsigned serialize(void* scanner, char* buffer);
  void deserialize(void* scanner, const char* buffer, unsigned size) const;

 private:
  std::uint32_t number_of(std::string_view state);

  const TSLanguage& _grammar;
  ParseArena& _arena;
  char* _buffer;  // SCANNER_STATE_BYTES, in the arena
  std::vector<std::string_view> _states;  // in the arena, by number
  std::unordered_map<std::string_view, std::uint32_t> _numbers;
};

}  // namespace engines::treesitter
