// Parser: parses one language with tree-sitter's parser, within limits of time and memory.
//
// Grammars and scanners are written for well-formed text. Sixteen bytes of TSX make one loop for
// ever, and a name of 300 letters makes one abort the process. So every parse has a budget of
// operations, which is the same on every machine, a budget of memory and a time limit, and a failed
// assertion ends the parse and not the process. Each of these throws a ParseError, and leaves
// nothing behind that could change the thread's next parse.
//
// A Parser is used by one thread.
//
// Tested by tests/guards_test.cpp.
#pragma once

#include <cstdint>
#include <stdexcept>

#include "engines/languages/language.h"
#include "engines/treesitter/guard_limits.h"
#include "engines/treesitter/memory/arena.h"
#include "engines/treesitter/parsing/guarded_grammar.h"
#include "engines/treesitter/parsing/parse_meter.h"
#include "engines/treesitter/parsing/syntax_tree.h"
#include "engines/treesitter/reading/source.h"

namespace engines::treesitter {

// Thrown when a guard ends a parse. The text names the guard and the size of the file.
class ParseError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// Throws the ParseError for a file of more than MAX_PARSED_BYTES.
[[noreturn]] void refuse_size(std::uint64_t size);

class Parser {
 public:
  // The language must live as long as the parser. Throws std::logic_error when the library refuses
  // the grammar's version.
  explicit Parser(const languages::Language& language);

  // Returns the tree of the source. It lies in the arena, which is reset when the tree is
  // destroyed. The source, this parser and the arena must outlive the tree. `report`, if any, gets
  // what the guards counted, also when one of them ends the parse. Throws ParseError,
  // CancelledError, OverRoom, Crowded, std::bad_alloc.
  SyntaxTree parse(const Source& source, ParseArena& arena, Fields fields = Fields::on_demand,
                   ParseReport* report = nullptr);

 private:
  TSTree* parse_guarded(const Source& source, ParseArena& arena, ParseMeter& meter);

  const languages::Language* _language;
  GuardedGrammar _grammar;
};

}  // namespace engines::treesitter
