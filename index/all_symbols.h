// Every symbol of an index, file by file: what a tags file is made of.
//
// Cost: the table of symbols once, a look-up for each name, and the symbols of one file at a time.
//
// Tested by tests/ctags_test.py.
#pragma once

#include <functional>

#include "index/answers.h"
#include "index/reader.h"

namespace repository {

// In the order in which the index has got to know the files. Files without symbols are left out.
void for_each_file(Reader& reader, const std::function<void(const FileSymbols&)>& take);

}  // namespace repository
