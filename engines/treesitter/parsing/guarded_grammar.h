// GuardedGrammar: a grammar whose scanner has a larger buffer, checked copies and a time limit.
//
// A scanner is a program written by hand. The library saves its state with every token that it
// finds, in a buffer of 1,024 bytes. Some scanners write past its end (254 nested sequences in
// YAML, 300 block quotes in Markdown), and others drop what does not fit. Ruby's counts in 8 bits
// and then reads past the end of the state.
//
// Here a scanner gets a buffer of 64 KiB for its state, with more room behind it. A state that is
// too large for the library is stored in the arena, once for all tokens that share it, and the
// library saves its number. A scanner that reads on and on is ended by the time limit.
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

  // What the library's parser is given. To be used only while a ScannerStates exists.
  const TSLanguage* grammar() const { return _guarded.get(); }
  const TSLanguage& original() const { return _original; }

  // The buffer in which the scanner writes and reads its state; null if the grammar has no scanner.
  char* buffer() const { return _buffer.get(); }

 private:
  const TSLanguage& _original;
  std::unique_ptr<TSLanguage> _guarded;
  std::unique_ptr<char[]> _buffer;
};

// Stands between the library and the scanner during one parse, and stores the large states. It
// serves the scanner of the calling thread while it exists; after it, the one before does again.
class ScannerStates {
 public:
  ScannerStates(const GuardedGrammar& grammar, ParseArena& arena, const ParseMeter& meter);
  ~ScannerStates();
  ScannerStates(const ScannerStates&) = delete;
  ScannerStates& operator=(const ScannerStates&) = delete;

  // Called by the library in place of the scanner's own operations.
  bool scan(void* scanner, TSLexer* lexer, const bool* valid_symbols);
  unsigned serialize(void* scanner, char* buffer);
  void deserialize(void* scanner, const char* buffer, unsigned size) const;

  // Called by the scanner: in place of the lexer's `advance`, and before a copy of `size` bytes.
  void advance(TSLexer* lexer, bool skip);
  void require_room(const void* destination, std::size_t size) const;

 private:
  std::uint32_t number_of(std::string_view state);

  const TSLanguage& _grammar;
  ParseArena& _arena;
  const ParseMeter& _meter;
  char* const _buffer;
  ScannerStates* const _before;
  void (*_advance)(TSLexer*, bool) = nullptr;  // the lexer's own operation
  std::uint32_t _advances = 0;
  std::vector<std::string_view> _states;  // in the arena, by number
  std::unordered_map<std::string_view, std::uint32_t> _numbers;
};

}  // namespace engines::treesitter
