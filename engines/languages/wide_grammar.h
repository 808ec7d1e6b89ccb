// WideGrammar: a grammar whose parse table is looked up in one step.
//
// A generated grammar keeps a full row of its table for some states only. For the others, four of
// five, it lists the symbols that can follow, and the library reads that list to find one of them:
// at every step of a parse, and at every error once for each symbol of the grammar. Those searches
// are a sixth of the parse of code and half of that of SQL. Here every state has its row.
//
// The rows take from 2 KB (JSON) to 9 MB (C#) and 25 MB (SQL) of memory, and half a millisecond for
// each MB to fill, once per process and only for languages that are asked for.
//
// Tested by tests/wide_grammar_test.cpp.
#pragma once

#include <cstdint>
#include <cstdlib>
#include <memory>

struct TSLanguage;

namespace engines::languages {

class WideGrammar {
 public:
  // `published` must outlive this: everything but the rows stays there.
  explicit WideGrammar(const TSLanguage& published);
  ~WideGrammar();

  const TSLanguage* grammar() const { return _grammar.get(); }

 private:
  struct Free {
    void operator()(std::uint16_t* rows) const { std::free(rows); }
  };
  std::unique_ptr<std::uint16_t[], Free> _rows;
  std::unique_ptr<TSLanguage> _grammar;
};

}  // namespace engines::languages
