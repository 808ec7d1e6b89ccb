// WideGrammar: a grammar whose parse table has a full row for every state.
//
// A generated grammar has full rows for one state in five. For the others it lists the symbols that
// can follow, and the library searches that list at every step of a parse, and at every error once
// for each symbol of the grammar. These searches take a sixth of the time of parsing code, and half
// of that of SQL. A full row needs no search.
//
// The rows take 2 KB of memory for JSON, 9 MB for C# and 25 MB for SQL. Filling them takes half a
// millisecond for each MB, once per process and only for languages that are asked for.
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
  // `published` must outlive this, which refers to all of it but the rows. Throws std::bad_alloc.
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
