// Parser: tree-sitter's parser for one language, with guards around every parse.
//
// Grammars and their scanners are programs that somebody wrote for well-meant input: 17 bytes of
// TSX can make one loop for ever, 300 letters make one abort the process. Every parse therefore has
// an operation budget (the same on every machine), a memory budget and a time limit, and a failed
// assertion ends the parse and not the process. All of them end as a ParseError, and the next parse
// on the thread finds nothing of it.
//
// A Parser belongs to the thread that made it.
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

// A parse that gave no tree. The text says which guard ended it, and the size of the file.
class ParseError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// Of more than MAX_PARSED_BYTES.
[[noreturn]] void refuse_size(std::uint64_t size);

class Parser {
 public:
  // The language must live as long as the parser. Throws std::logic_error when the library refuses
  // the grammar's version.
  explicit Parser(const languages::Language& language);

  // The tree of the source, which must outlive it, as must this parser and the arena: the tree lies
  // in there, and the arena is reset when the tree ends. `report`, if any, gets what the guards
  // counted, also when one of them spoke. Throws ParseError; std::bad_alloc.
  SyntaxTree parse(const Source& source, ParseArena& arena, Fields fields = Fields::on_demand,
                   ParseReport* report = nullptr);

 private:
  TSTree* parse_guarded(const Source& source, ParseArena& arena, ParseMeter& meter);

  const languages::Language* _language;
  GuardedGrammar _grammar;
};

}  // namespace engines::treesitter
