// Every symbol of an index, file by file: what a tags file is made of. It reads a whole table, so
// that it does not stand beside the questions, none of which may (tests/questions_test.py).
//
// Cost: the table of symbols once, a look-up for each name, and memory for the symbols of one file.
//
// Tested by tests/ctags_test.py.
#pragma once

#include <functional>

#include "index/answers.h"
#include "index/reader.h"

namespace repository {

// Calls `take` for each file that has symbols, in the order in which the index has got the files.
// Forgets after each file what the reader remembers.
void for_each_file(Reader& reader, const std::function<void(const FileSymbols&)>& take);

}  // namespace repository
