// Parser: one tree-sitter parser for one language.
//
// A Parser keeps state while it parses and belongs to the thread that made it.
//
// Tested by tests/engine_test.cpp.
#pragma once

#include <memory>
#include <stdexcept>

#include "engines/languages/language.h"
#include "engines/treesitter/core/source.h"
#include "engines/treesitter/core/syntax_tree.h"

struct TSParser;

namespace engines::treesitter {

// A parse that gave no tree. The text says why.
class ParseError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// Files of 4 GiB and more are refused: the library counts bytes in 32 bits.
inline constexpr std::uint64_t MAX_PARSED_BYTES = UINT32_MAX;
[[noreturn]] void refuse_size(std::uint64_t size);

class Parser {
 public:
  // The language must live as long as the parser. Throws std::logic_error when the library refuses
  // the grammar's version.
  explicit Parser(const languages::Language& language);

  // The tree of the source, which must outlive it. Throws ParseError.
  SyntaxTree parse(const Source& source);

 private:
  struct Delete {
    void operator()(TSParser* parser) const;
  };

  const languages::Language* _language;
  std::unique_ptr<TSParser, Delete> _parser;
};

}  // namespace engines::treesitter
