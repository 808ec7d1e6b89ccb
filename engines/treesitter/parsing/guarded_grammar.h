// GuardedGrammar: a grammar whose scanner is kept within its memory and its time.
//
// A scanner is a program that somebody wrote by hand, and its state is saved with every token that
// it gave, in at most 1,024 bytes. Some scanners write past that end (254 nested sequences in YAML,
// 300 block quotes in Markdown), others drop what does not fit, and Ruby's counts in 8 bits and
// then reads past the state's end. Here they write into 64 KiB and read from a copy with room
// behind it. A state that is too large for the library is kept beside it, once for all tokens that
// share it, and the library gets its number instead. While a scanner reads on, the clock is looked
// at.
//
// Tested by tests/guards_test.cpp.
#pragma once

#include <cstdint>
#include <memory>
#include <string_view>
#include <unordered_map>
#include <vector>

struct TSLanguage;
struct TSLexer;

namespace engines::treesitter {

class ParseArena;
class ParseMeter;

class GuardedGrammar {
 public:
  // `grammar` must outlive this.
  explicit GuardedGrammar(const TSLanguage& grammar);
  ~GuardedGrammar();

  // What a parser is to be constructed from. Only to be used while a ScannerStates exists.
  const TSLanguage* grammar() const { return _guarded.get(); }
  const TSLanguage& original() const { return _original; }

  // Where the scanner writes and reads its state; none for a grammar without a scanner.
  char* buffer() const { return _buffer.get(); }

 private:
  const TSLanguage& _original;
  std::unique_ptr<TSLanguage> _guarded;
  std::unique_ptr<char[]> _buffer;
};

// The large states of one parse. While it exists, it serves the scanner of the calling thread, in
// the place of the one that did before.
class ScannerStates {
 public:
  ScannerStates(const GuardedGrammar& grammar, ParseArena& arena, const ParseMeter& meter);
  ~ScannerStates();
  ScannerStates(const ScannerStates&) = delete;
  ScannerStates& operator=(const ScannerStates&) = delete;

  // What the library calls in the place of the scanner's own operations.
  bool scan(void* scanner, TSLexer* lexer, const bool* valid_symbols);
  unsigned serialize(void* scanner, char* buffer);
  void deserialize(void* scanner, const char* buffer, unsigned size) const;

  // What the scanner calls in the place of the lexer's `advance`, and of `memcpy`.
  void advance(TSLexer* lexer, bool skip);
  void require_room(const void* destination, std::size_t size) const;

 private:
  std::uint32_t number_of(std::string_view state);

  const TSLanguage& _grammar;
  ParseArena& _arena;
  const ParseMeter& _meter;
  char* const _buffer;
  ScannerStates* const _before;
  void (*_advance)(TSLexer*, bool) = nullptr;  // the lexer's own
  std::uint32_t _advances = 0;
  std::vector<std::string_view> _states;  // in the arena, by number
  std::unordered_map<std::string_view, std::uint32_t> _numbers;
};

}  // namespace engines::treesitter
